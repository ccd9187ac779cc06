// Programs started on behalf of the user.
#pragma once

#include <string>
#include <vector>

// Finds the program along PATH and starts it with these arguments, the first its own name. It runs in a session of its
// own, reads and writes nothing of ours, and is nobody's child. Returns when it runs, or with false when it can't. Any
// thread.
bool Launch(std::vector<std::string> const& lArguments);
