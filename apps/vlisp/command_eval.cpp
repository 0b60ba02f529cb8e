// vlisp eval: texts, one session. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/script_answers.h"
#include "apps/vlisp/signals.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace vlisp::app {
namespace {

using Json = nlohmann::ordered_json;

// A number as JSON writes it shortest: 2, not 2.0.
Json plainNumber(double value) {
    constexpr double exact = 9007199254740992.0;
    if (std::abs(value) < exact && value == std::trunc(value))
        return static_cast<std::int64_t>(value);
    return value;
}

Json describe(const HostRequest& request) {
    return {{"kind", request.kind},
            {"mode", request.mode},
            {"x", plainNumber(request.x)},
            {"y", plainNumber(request.y)},
            {"hasBasePoint", request.hasBasePoint},
            {"context", request.context},
            {"inputText", platform::toUtf8(request.inputText)},
            {"messageText", platform::toUtf8(request.messageText)}};
}

// A whole number of 32 bits; 0 when it is absent. Throws for anything else.
std::int32_t wholeNumber(const Json& members, const char* name) {
    if (!members.contains(name)) return 0;
    const auto value = members.at(name);
    if (!value.is_number_integer()) throw std::invalid_argument(name);
    const auto number = value.get<std::int64_t>();
    const auto narrow = static_cast<std::int32_t>(number);
    if (narrow != number) throw std::invalid_argument(name);
    return narrow;
}

// A reply record of the members that are there. Throws for members of wrong types.
HostRequest replyOf(const Json& members) {
    HostRequest reply;
    reply.mode = wholeNumber(members, "mode");
    reply.x = members.value("x", 0.0);
    reply.y = members.value("y", 0.0);
    reply.count = wholeNumber(members, "count");
    reply.entityId = wholeNumber(members, "entityId");
    reply.context = wholeNumber(members, "context");
    setField(reply.inputText, platform::fromUtf8(members.value("inputText", std::string())));
    return reply;
}

// What the two ways of writing have in common: one session, and the worst exit code.
class Evaluation {
  public:
    explicit Evaluation(refhost::Answers& answers)
        : lisp_([this](std::u16string_view text) { show(text); }, answers) {}
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;
    virtual ~Evaluation() = default;

    virtual void take(const std::string& line) = 0;
    virtual void show(std::u16string_view text) = 0;
    [[nodiscard]] bool quits() const noexcept { return lisp_.host().quits(); }

    /// The exit code; the texts must not be taken when it is not 0.
    int open(const DrawingOptions& options, bool json) { return openDrawing(lisp_, options, json); }

    int finish(const DrawingOptions& options, bool json) {
        if (!lisp_.allAnswered()) fail(exitError);
        return finishDrawing(lisp_, options, json, code_);
    }

  protected:
    void fail(int code) { code_ = std::max(code_, code); }

    // Evaluates; remembers what went wrong.
    bool evaluate(std::u16string& text) {
        const bool succeeded = lisp_.evalString(text);
        if (!succeeded) fail(exitCodeOfError(text));
        return succeeded;
    }

    Lisp lisp_;

  private:
    int code_ = exitOk;
};

class PlainEvaluation final : public Evaluation {
  public:
    using Evaluation::Evaluation;

    void take(const std::string& line) override {
        std::u16string text = platform::fromUtf8(line);
        if (evaluate(text)) return writeLine(text);
        while (text.ends_with(u'\n')) text.pop_back();
        writeError(platform::toUtf8(text));
    }

    void show(std::u16string_view text) override { writeLine(text); }
};

class JsonEvaluation final : public Evaluation {
  public:
    explicit JsonEvaluation(QueuedAnswers& answers) : Evaluation(answers), answers_(answers) {
        lisp_.host().onRequest = [this](const HostRequest& request) {
            requests_ += (requests_.empty() ? "" : ",") + describe(request).dump();
        };
    }

    void take(const std::string& line) override {
        if (line.starts_with('{') && takeControl(line)) return;
        std::u16string text = platform::fromUtf8(line);
        const bool succeeded = evaluate(text);
        writeResult(succeeded, platform::toUtf8(text));
    }

    void show(std::u16string_view text) override { shown_.push_back(platform::toUtf8(text)); }

  private:
    // A line that is a JSON object with one of three members is not evaluated. False: it is none.
    bool takeControl(const std::string& line) {
        const Json object = Json::parse(line, nullptr, false);
        if (!object.is_object()) return false;
        try {
            if (object.contains("input")) {
                answers_.push(platform::fromUtf8(object.at("input").get<std::string>()));
            } else if (object.contains("reply")) {
                answers_.push(replyOf(object.at("reply")));
            } else if (object.contains("requests")) {
                writeLine("{\"requests\":[" + std::exchange(requests_, {}) + "]}");
            } else {
                return false;
            }
        } catch (const std::exception&) {  // of the library, or a number out of range
            fail(exitUnreadable);
            writeResult(false, "vlisp: not an answer: " + line);
        }
        return true;
    }

    void writeResult(bool succeeded, const std::string& text) {
        Json line;
        line["ok"] = succeeded;
        line["text"] = text;
        line["shown"] = std::exchange(shown_, Json::array());
        writeLine(line.dump());
    }

    QueuedAnswers& answers_;
    Json shown_ = Json::array();
    std::string requests_;  // as JSON already: there may be very many
};

void takeAll(Evaluation& evaluation, const std::vector<std::string>& texts, LineSource& input) {
    for (const std::string& text : texts)
        if (!signalled() && !evaluation.quits()) evaluation.take(text);
    if (!texts.empty()) return;
    for (std::string line; !evaluation.quits() && input.next(line) == LineSource::Outcome::line;)
        evaluation.take(line);
}

int run(Evaluation& evaluation, const EvalOptions& options, LineSource& input) {
    if (const int code = evaluation.open(options.drawing, options.json); code != exitOk)
        return code;
    takeAll(evaluation, options.texts, input);
    return evaluation.finish(options.drawing, options.json);
}

}  // namespace

int evalTexts(const EvalOptions& options) {
    const auto standardInput = openLines("-");
    const bool fromFile = options.input != "-";
    const auto file = fromFile ? openLines(options.input) : nullptr;
    if (fromFile && file == nullptr) return exitUnreadable;
    cancelOnSignals();
    LineSource& lines = fromFile ? *file : *standardInput;
    int code = exitOk;
    if (options.json) {
        // Lines of standard input that are evaluated answer nothing: answers are queued.
        const bool hasLines = fromFile || !options.texts.empty();
        JsonEvaluation* evaluation = nullptr;
        QueuedAnswers answers(hasLines ? &lines : nullptr,
                              [&](std::u16string_view text) { evaluation->show(text); });
        JsonEvaluation all(answers);
        evaluation = &all;
        code = run(all, options, *standardInput);
    } else {
        ScriptAnswers answers(lines, [](std::u16string_view text) { writeLine(text); });
        PlainEvaluation all(answers);
        code = run(all, options, *standardInput);
    }
    return exitCodeOfSignals(exitCodeOfOutput(code));
}

}  // namespace vlisp::app
