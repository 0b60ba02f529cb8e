// What the program gets from its caller: words, and bytes to read.
// One idea: words and names of files are UTF-8 here, and bytes are what they are, on every system; one
// source per system.
// Tests: tests/cli/.
#pragma once

#include <string>
#include <vector>

namespace vlisp::app {

/// The words behind the program's name.
std::vector<std::string> wordsOfCommandLine(int argc, char** argv);

/// To be called first: afterwards the standard streams are open and take bytes as they are.
void prepareStreams();

inline constexpr int standardInput = 0;

/// Whether a person types there.
bool isTerminal(int descriptor) noexcept;

/// A file to read from; -1 and why not in `reason` where it cannot be read.
int openInput(const std::string& path, std::string& reason);
void closeInput(int descriptor) noexcept;

/// Waits for bytes, or for a signal, and appends what came to `bytes`. False at the end.
bool readInput(int descriptor, std::string& bytes);

}  // namespace vlisp::app
