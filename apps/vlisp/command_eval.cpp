// vlisp eval: texts, one session. See commands.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "platform/text.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace vlisp::app {
namespace {

// Evaluates one text and writes what came of it; true when it succeeded.
class Evaluation {
  public:
    explicit Evaluation(bool json)
        : json_(json), lisp_([this](std::u16string_view text) { take(text); }) {}

    bool evaluate(const std::string& bytes) {
        std::u16string text = platform::fromUtf8(bytes);
        const bool succeeded = lisp_.evalString(text);
        if (json_) {
            writeJson(succeeded, text);
        } else if (succeeded) {
            writeLine(text);
        } else {
            while (text.ends_with(u'\n')) text.pop_back();
            writeError(platform::toUtf8(text));
        }
        return succeeded;
    }

  private:
    void take(std::u16string_view text) {
        if (json_) shown_.push_back(platform::toUtf8(text));
        else writeLine(text);
    }

    void writeJson(bool succeeded, std::u16string_view text) {
        nlohmann::ordered_json line;
        line["ok"] = succeeded;
        line["text"] = platform::toUtf8(text);
        line["shown"] = std::exchange(shown_, nlohmann::ordered_json::array());
        writeLine(line.dump());
    }

    bool json_;
    nlohmann::ordered_json shown_ = nlohmann::ordered_json::array();
    Lisp lisp_;
};

}  // namespace

int evalTexts(const std::vector<std::string>& texts, bool json) {
    Evaluation evaluation(json);
    bool allSucceeded = true;
    for (const std::string& text : texts)
        if (!evaluation.evaluate(text)) allSucceeded = false;
    if (texts.empty()) {
        for (std::string line; std::getline(std::cin, line);) {
            if (line.ends_with('\r')) line.pop_back();
            if (!evaluation.evaluate(line)) allSucceeded = false;
        }
    }
    return exitCodeOfOutput(allSucceeded ? exitOk : exitError);
}

}  // namespace vlisp::app
