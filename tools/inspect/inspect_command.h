// `lumora inspect`: the plug-in's objects and properties, for people and for programs.
#pragma once

#include <string>

struct InspectOptions {
    std::string szBundle;
    bool bJson = false;
};

// Prints the tree on standard output. Returns the exit status; throws Failure.
int RunInspect(InspectOptions const& oOptions);
