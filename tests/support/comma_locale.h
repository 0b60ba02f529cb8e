// A locale with a decimal comma, for tests of what must not follow the process's locale.
#pragma once

#include <clocale>
#include <locale>
#include <string>

namespace vlisp::test {

/// For as long as it lives, the process has a decimal comma as far as the system knows one.
class CommaLocale {
  public:
    CommaLocale() : before_(std::locale::global(std::locale(std::locale::classic(), new Comma))) {
        cLocale_ = std::setlocale(LC_ALL, nullptr);
        std::setlocale(LC_ALL, "de_DE.UTF-8");  // where it is installed
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() {
        std::setlocale(LC_ALL, cLocale_.c_str());
        std::locale::global(before_);
    }

  private:
    struct Comma final : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale before_;
    std::string cLocale_;
};

}  // namespace vlisp::test
