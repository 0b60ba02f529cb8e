// vlisp diff: what differs between two drawing files. See commands.h, differences_output.h.
#include "apps/vlisp/commands.h"
#include "apps/vlisp/console.h"
#include "apps/vlisp/differences_output.h"
#include "platform/text.h"
#include "refhost/dxf/document.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

namespace vlisp::app {
namespace {

using namespace refhost::dxf;

// Standard output by large pieces.
class Output {
  public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() { writeText(waiting_); }

    void put(std::string_view text) {
        constexpr std::size_t enough = 1U << 16;
        waiting_ += text;
        if (waiting_.size() < enough) return;
        writeText(waiting_);
        waiting_.clear();
    }

  private:
    std::string waiting_;
};

// Where offsets of a file are for people.
class Places {
  public:
    explicit Places(const ComparedFile& file)
        : isText_(file.structure.opening.form == Form::text),
          lines_(isText_ ? file.bytes : std::string_view{}) {}

    [[nodiscard]] bool isText() const noexcept { return isText_; }
    [[nodiscard]] std::uint64_t number(std::uint64_t offset) const noexcept {
        return isText_ ? lines_.of(offset) : offset;
    }
    [[nodiscard]] std::string text(std::uint64_t offset) const {
        return (isText_ ? "line " : "byte ") + std::to_string(number(offset));
    }

  private:
    bool isText_;
    LineNumbers lines_;
};

// Characters that a terminal acts on, or that turn the direction of what follows.
bool isControl(char16_t c) noexcept {
    return c < 0x20 || (c >= 0x7f && c < 0xa0) || (c >= 0x200b && c <= 0x200f) ||
           (c >= 0x2028 && c <= 0x202e) || (c >= 0x2060 && c <= 0x206f) || c == 0xfeff;
}

// A text as it may be shown: control characters are spelled as drawing files spell them.
std::string visible(const std::string& text) {
    if (std::ranges::all_of(text, [](char c) { return c >= 0x20 && c < 0x7f; })) return text;
    std::u16string shown;
    for (const char16_t c : platform::fromUtf8(text)) {
        if (!isControl(c)) {
            shown += c;
        } else if (c < 0x20) {
            shown += {u'^', static_cast<char16_t>(c + 0x40)};
        } else {
            shown += u"\\U+";
            for (int shift = 12; shift >= 0; shift -= 4)
                shown += u"0123456789ABCDEF"[(c >> shift) & 15];
        }
    }
    return platform::toUtf8(shown);
}

// A value; quoted where its ends could not be seen.
std::string shownValue(const std::string& value) {
    std::string shown = visible(value);
    const bool plain = !shown.empty() && shown.front() != ' ' && shown.back() != ' ';
    return plain ? shown : '"' + shown + '"';
}

std::string nameOf(ChangeKind kind) {
    switch (kind) {
    case ChangeKind::changed: return "changed";
    case ChangeKind::added: return "added";
    case ChangeKind::erased: return "erased";
    case ChangeKind::moved: return "moved";
    }
    return {};
}

// One record a paragraph, one pair a line.
class TextWriter final : public DifferenceSink {
  public:
    TextWriter(const ComparedFile& before, const ComparedFile& after)
        : before_(before), after_(after) {}

    void begin(const RecordChange& record) override {
        kind_ = record.kind;
        pairs_ = 0;
        std::string line;
        if (!record.section.empty()) line += visible(record.section) + ": ";
        line += visible(record.type);
        if (!record.handle.empty()) line += ' ' + record.handle;
        line += " (" +
                (record.after ? after_.text(*record.after) : before_.text(record.before.value())) +
                "): " + nameOf(kind_);
        if (kind_ == ChangeKind::moved) line += " from " + before_.text(record.before.value());
        out_.put(line + '\n');
    }

    void pair(const PairChange& pair) override {
        constexpr std::size_t most = 40;
        ++pairs_;
        const std::string code = std::to_string(pair.code) + ": ";
        if (kind_ == ChangeKind::added || kind_ == ChangeKind::erased) {
            if (pairs_ <= most)
                out_.put("  " + code + shownValue((pair.after ? pair.after : pair.before).value()) +
                         '\n');
            else ++hidden_;
            return;
        }
        if (pair.before && pair.after)
            out_.put("  " + code + shownValue(*pair.before) + " -> " + shownValue(*pair.after) +
                     '\n');
        else if (pair.after) out_.put("  + " + code + shownValue(*pair.after) + '\n');
        else out_.put("  - " + code + shownValue(pair.before.value()) + '\n');
    }

    void end() override {
        if (hidden_ > 0) out_.put("  ... and " + std::to_string(hidden_) + " more\n");
        hidden_ = 0;
    }

    void finish(const DifferenceCounts& counts) {
        if (counts.sameBytes) return out_.put("no differences\n");
        if (counts.samePairs()) return out_.put("no differences: the same pairs, other bytes\n");
        std::string line = std::to_string(counts.changed) + " changed, " +
                           std::to_string(counts.added) + " added, " +
                           std::to_string(counts.erased) + " erased";
        if (counts.moved > 0) line += ", " + std::to_string(counts.moved) + " moved";
        out_.put(line + '\n');
    }

  private:
    Places before_;
    Places after_;
    Output out_;
    ChangeKind kind_ = ChangeKind::changed;
    std::size_t pairs_ = 0;
    std::size_t hidden_ = 0;
};

// One object, written as the differences come.
class JsonWriter final : public DifferenceSink {
  public:
    JsonWriter(const ComparedFile& before, const ComparedFile& after)
        : before_(before), after_(after) {}

    void begin(const RecordChange& record) override {
        out_.put(isFirst_ ? R"({"same":false,"samePairs":false,"changes":[)" : ",");
        isFirst_ = false;
        isFirstPair_ = true;
        out_.put("{\"change\":" + quoted(nameOf(record.kind)) +
                 ",\"section\":" + quoted(record.section) + ",\"type\":" + quoted(record.type) +
                 ",\"handle\":" + quoted(record.handle) + place("old", before_, record.before) +
                 place("new", after_, record.after) + ",\"pairs\":[");
    }

    void pair(const PairChange& pair) override {
        if (!isFirstPair_) out_.put(",");
        isFirstPair_ = false;
        out_.put("{\"code\":" + std::to_string(pair.code) + ",\"old\":" + value(pair.before) +
                 ",\"new\":" + value(pair.after) + '}');
    }

    void end() override { out_.put("]}"); }

    void finish(const DifferenceCounts& counts) {
        if (isFirst_)
            out_.put(std::string("{\"same\":") + (counts.sameBytes ? "true" : "false") +
                     R"(,"samePairs":true,"changes":[)");
        out_.put("]}\n");
    }

  private:
    static std::string quoted(const std::string& text) {
        // What a terminal would act on is escaped, other characters are readable as they are.
        const bool escaped = visible(text) != text;
        return nlohmann::json(text).dump(-1, ' ', escaped,
                                         nlohmann::json::error_handler_t::replace);
    }
    static std::string value(const std::optional<std::string>& text) {
        return text ? quoted(*text) : "null";
    }
    static std::string place(const std::string& which, const Places& places,
                             std::optional<std::uint64_t> offset) {
        return ",\"" + which + (places.isText() ? "Line\":" : "Offset\":") +
               (offset ? std::to_string(places.number(*offset)) : "null");
    }

    Places before_;
    Places after_;
    Output out_;
    bool isFirst_ = true;
    bool isFirstPair_ = true;
};

template <class Writer> bool write(const ComparedFile& before, const ComparedFile& after) {
    Writer writer(before, after);
    const DifferenceCounts counts = compare(before, after, writer);
    writer.finish(counts);
    return !counts.samePairs();
}

}  // namespace

bool writeDifferences(const ComparedFile& before, const ComparedFile& after, bool json) {
    return json ? write<JsonWriter>(before, after) : write<TextWriter>(before, after);
}

void writeDifferences(std::string_view oldBytes, std::string_view newBytes, bool json) {
    const Structure old = structureOf(oldBytes, OnDamage::recover);
    const Structure now = structureOf(newBytes, OnDamage::recover);
    writeDifferences({oldBytes, old}, {newBytes, now}, json);
}

int diffFiles(const std::string& before, const std::string& after, bool json) {
    try {
        const auto old = Document::open(before, OnDamage::stop);
        const auto now = Document::open(after, OnDamage::stop);
        const bool differ = writeDifferences({old->bytes(), old->structure()},
                                             {now->bytes(), now->structure()}, json);
        return exitCodeOfOutput(differ ? exitError : exitOk);
    } catch (const FileError& error) {
        writeError(std::string("vlisp: ") + error.what());
        return exitUnreadable;
    }
}

}  // namespace vlisp::app
