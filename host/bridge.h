// The host bridge: what the host's executable exports to the extension.
// One idea: these declarations are the whole contract with a host, and the only way from the
// extension to it. The reference host and the recording host of the tests implement the same.
// Tests: tests/host/handshake_test.cpp, tests/host/output_test.cpp.
//
// Texts are zero-terminated UTF-16 and belong to the caller; the host copies what it keeps.
#pragma once

#include "platform/system.h"

/// Registers a host command, or replaces it. `name` is what the user types; `lispText` is what the
/// host hands back when the command runs; `description` is for people; `moduleName` and `instance`
/// name the owner; `number` is attached to the command, 0 for none. Thread: any that evaluates.
void AddCommand(const char16_t* name, const char16_t* lispText, const char16_t* description,
                const char16_t* moduleName, void* instance, unsigned number);

/// Shows a line on the command line. Thread: any.
void DisplayMsg(const char16_t* text);

/// Writes the handle of the main frame window. Thread: the user interface's.
void GetMainFrameWindow(vlisp::platform::WindowHandle& window);

/// Forgets that a message has been taken. Thread: the one that is about to post.
void ClearThreadMsgPosted();

/// Writes whether the message posted last has been taken off the queue. Thread: the one that
/// posted; asked in a tight loop.
void IsThreadMsgPosted(bool& taken);
