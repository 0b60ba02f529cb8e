// How long a program that is being reduced may take: it may have lost what ended it.
#pragma once

namespace vlisp::reference {

/// While it lives, cancels every evaluation that has taken a second of processor time.
class Patience {
  public:
    Patience();
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;
    ~Patience();
};

}  // namespace vlisp::reference
