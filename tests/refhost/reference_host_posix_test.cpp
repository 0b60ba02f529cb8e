// Tests of refhost/console/ with an editor that is a script of the shell.
#include "tests/refhost/reference_host_test.h"

#include <cstdlib>

namespace vlisp::refhost {
namespace {

using namespace test;

class Environment {
  public:
    Environment(const char* name, const char* value) : name_(name) {
        if (const char* before = std::getenv(name)) before_ = before;
        if (value != nullptr) ::setenv(name, value, 1);
        else ::unsetenv(name);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() {
        if (before_) ::setenv(name_, before_->c_str(), 1);
        else ::unsetenv(name_);
    }

  private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST_F(HostedLisp, TheEditorIsTheUsers) {
    const TemporaryFolder folder;
    const std::string edited = folder.write("my file.lsp", "before\n").string();
    const std::string editor = folder.write("editor.sh", "echo edited > \"$1\"\n").string();
    const Environment visual("VISUAL", nullptr);
    const Environment chosen("EDITOR", ("sh " + editor).c_str());
    enter("LispEdit");
    EXPECT_EQ(prompt(), "Enter lisp file (.lsp) full path or <Browse...>: ");
    enter(edited);
    EXPECT_EQ(contentsOf(edited), "edited\n");
    EXPECT_EQ(takeShown(), Lines{"Lisp file edited successfully."});
    EXPECT_EQ(prompt(), "");
}

}  // namespace
}  // namespace vlisp::refhost
