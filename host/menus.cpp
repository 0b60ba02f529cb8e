// MnuLoad. See menus.h.
#include "host/menus.h"

#include "core/reader.h"
#include "host/host_calls.h"
#include "host/module.h"
#include "host/typed_text.h"
#include "platform/text.h"

#include <algorithm>

namespace vlisp {
namespace {

// A line without the blanks and tabs at its front.
std::u16string_view withoutLeadingBlanks(std::u16string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(u" \t"), line.size()));
    return line;
}

bool beginsWith(std::u16string_view line, std::u16string_view upperCaseWord) {
    return line.size() >= upperCaseWord.size() &&
           std::ranges::equal(line.substr(0, upperCaseWord.size()), upperCaseWord, {}, upperCase);
}

// The lines of a text, without their ends.
class Lines {
  public:
    explicit Lines(std::u16string_view text) : rest_(text) {}

    /// Takes the next line; false at the end of the text.
    bool next(std::u16string_view& line) {
        if (rest_.empty()) return false;
        const std::size_t end = rest_.find(u'\n');
        line = rest_.substr(0, end);
        rest_.remove_prefix(end == std::u16string_view::npos ? rest_.size() : end + 1);
        if (line.ends_with(u'\r')) line.remove_suffix(1);
        return true;
    }

  private:
    std::u16string_view rest_;
};

// Output functions speak to the host at once while this lives.
class DirectMode {
  public:
    DirectMode() { handshake().directMode = true; }
    DirectMode(const DirectMode&) = delete;
    DirectMode& operator=(const DirectMode&) = delete;
    ~DirectMode() { handshake().directMode = false; }
};

class MenuReader {
  public:
    MenuReader(std::u16string_view text, std::u16string_view support)
        : lines_(text), support_(support) {}

    void read() {
        std::u16string_view line;
        while (lines_.next(line)) {
            line = withoutLeadingBlanks(line);
            if (line.empty() || line.starts_with(u";;")) continue;
            if (beginsWith(line, u"**LISP")) readLispSection();
            else if (beginsWith(line, u"***TOOLBAR")) readToolbar(line);
        }
    }

  private:
    // On purpose: the first line is a file name even when it is empty.
    void readLispSection() {
        std::u16string_view line;
        bool found = lines_.next(line);
        const DirectMode direct;
        while (found) {
            load(line);
            found = lines_.next(line) && !line.empty();
        }
    }

    // On purpose: what goes wrong in the file is not told.
    void load(std::u16string_view name) const {
        Module* module = currentModule();
        if (module == nullptr) return;
        module->session().LispPathBuffer = fitted(inSupport(name), lispPathCapacity);
        ErrorBuffer dropped;
        module->session().LoadLispFileQuietly(dropped);
    }

    void readToolbar(std::u16string_view header) {
        constexpr std::size_t nameCapacity = 256;
        std::u16string name;
        std::u16string bitmap;
        // With one comma the rest is the name.
        if (const std::size_t first = header.find(u','); first != npos) {
            const std::size_t second = header.find(u',', first + 1);
            name = fitted(header.substr(first + 1, second - first - 1), nameCapacity);
            if (second != npos) bitmap = inSupport(withoutLeadingBlanks(header.substr(second + 1)));
        }
        std::vector<HostButton> buttons;
        for (std::u16string_view line; lines_.next(line) && !line.empty();)
            readButton(line, header.size(), buttons);
        hostCreateExtensionToolbar(bitmap.c_str(), name.c_str(), buttons.data(),
                                   static_cast<int>(buttons.size()));
    }

    // On purpose: a command's name is cut by the length of the toolbar's header, not of its own line.
    static void readButton(std::u16string_view line, std::size_t headerLength,
                           std::vector<HostButton>& buttons) {
        constexpr std::uint8_t enabled = 4;
        const std::size_t comma = line.find(u',');
        if (comma == npos) return;
        HostButton button;
        button.image = static_cast<std::int32_t>(buttons.size());
        button.command = integerAtFront(line.substr(0, comma));
        button.state = enabled;
        const std::size_t longest = headerLength > comma + 1 ? headerLength - comma - 1 : 0;
        const std::u16string_view typed = line.substr(comma + 1);
        const std::u16string name(
            withoutLeadingBlanks(typed.substr(0, lengthThatFits(typed, longest))));
        hostAddCommand(name.c_str(), u"", name.c_str(), moduleFileName, moduleInstance(),
                       static_cast<unsigned>(button.command));
        buttons.push_back(button);
    }

    [[nodiscard]] std::u16string inSupport(std::u16string_view name) const {
        return support_ + platform::nativePath(name);
    }

    static constexpr std::size_t npos = std::u16string_view::npos;

    Lines lines_;
    std::u16string support_;
};

}  // namespace

int loadMenus() {
    constexpr std::size_t componentCapacity = 260;
    const std::u16string program = platform::programPath();
    if (program.empty()) return 0;
    const platform::PathParts parts = platform::splitPath(program);
    return loadMenusIn(fitted(parts.drive, componentCapacity) +
                       fitted(parts.directory, componentCapacity) +
                       platform::nativePath(u"Support\\"));
}

int loadMenusIn(std::u16string_view support) {
    std::string bytes;
    std::string reason;
    const std::string path = platform::toUtf8(std::u16string(support) + u"velm.mnu");
    switch (platform::readWholeFile(path, bytes, reason)) {
    case platform::FileRead::notOpened: return 1;
    case platform::FileRead::notFound:
        platform::warn(handshake().mainWindow, u"ERROR: File not found");
        return 1;
    case platform::FileRead::failed:
        platform::warn(handshake().mainWindow, u"ERROR: An unspecified error occurred.");
        return 1;
    case platform::FileRead::done: break;
    }
    const std::u16string text = platform::fromUtf8(bytes);
    MenuReader(text, support).read();
    return 1;
}

}  // namespace vlisp
