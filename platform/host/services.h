// Host door: where mach services are found on this machine, and why they might not be.
#pragma once

#include <string>

// The folder that holds this user's services, one socket a name: <runtime folder>/mach-services. The runtime folder is
// $XDG_RUNTIME_DIR, or /run/user/<uid>, or else /tmp/lumora-<uid>. Read from the environment at each call; the folder
// need not exist. Any thread.
std::string MachServicesFolder();

// Makes the folder if need be (mode 0700) and looks at it. Empty when it can be used, else what is wrong with which
// path, as a sentence for the person who has to set it right: who owns it, what others may do in it, what could not be
// made and why. Any thread.
std::string MachServicesFolderProblem();
