// What a host has beyond its drawing, for fuzz targets that know drawings only.
// One idea: reading, changing and drawing files needs nothing of it; a call is a finding.
#include "host/bridge.h"

#include <cstdlib>

void GetVersion(HostChar*) { std::abort(); }

void AddCommand(const HostChar*, const HostChar*, const HostChar*, const HostChar*, ModuleHandle,
                unsigned) {
    std::abort();
}

void CreateExtensionToolbar(const HostChar*, const HostChar*, ToolbarButton*, int) { std::abort(); }

void DisplayMsg(const HostChar*) { std::abort(); }

void DisplayPromptMsg(const HostChar*) { std::abort(); }

void AllowTopMost(bool) { std::abort(); }

void GetMainFrameWindow(HostWindow&) { std::abort(); }

void ClearThreadMsgPosted() { std::abort(); }

void IsThreadMsgPosted(bool&) { std::abort(); }

void GetInputString(HostChar*) { std::abort(); }

void GetInputType(int&) { std::abort(); }

void GetInputPoint(double&, double&, double&) { std::abort(); }

void SetUserInputMode(int, bool, double, double, double) { std::abort(); }
