// A host that has not all that the module needs: the module is not loaded, and says what is missing.
// Linked into a host of its own, of whose exports two were taken away.
#include "tests/windows/module_fixture.h"
#include "tests/windows/user.h"

namespace vlisp::test {
namespace {

// GoogleTest asks the system for silence about errors; a host does not.
class ErrorMode {
  public:
    explicit ErrorMode(UINT mode) : before_(SetErrorMode(mode)) {}
    ErrorMode(const ErrorMode&) = delete;
    ErrorMode& operator=(const ErrorMode&) = delete;
    ~ErrorMode() { SetErrorMode(before_); }

  private:
    UINT before_;
};

class Lacking : public testing::Test {
  protected:
    void TearDown() override {
        EXPECT_FALSE(LoadedModule::isLoaded());
        EXPECT_EQ(host.log, Lines());
    }

    static HMODULE load() { return LoadLibraryW(units(LoadedModule::path())); }

    TestHost host;
};

TEST_F(Lacking, TheModuleDoesNotLoadAndNamesWhatIsMissing) {
    const ErrorMode asInAHost(0);
    HMODULE module = nullptr;
    const SeenBox box = boxDuring([&] { module = load(); });
    EXPECT_EQ(module, nullptr);
    EXPECT_EQ(box.title, "VelmoraLispExtension");
    for (const char* missing : {"Refresh(void)", "?Refresh@@YAXXZ", "VmDbObject::getExtent(double"})
        EXPECT_NE(box.text.find(missing), std::string::npos) << missing << " in " << box.text;
    EXPECT_EQ(box.text.find("Regen"), std::string::npos) << "that is there: " << box.text;
}

TEST_F(Lacking, AProgramThatWantsNoBoxesGetsNone) {
    const ErrorMode alone(SEM_FAILCRITICALERRORS);
    EXPECT_EQ(load(), nullptr);
}

}  // namespace
}  // namespace vlisp::test
