// The home folder of this process, as NSHomeDirectory has it. Any thread.
#pragma once

#include <string>

std::string HomeFolder();
