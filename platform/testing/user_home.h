// Test door: another home folder for the user in the password database.
#pragma once

#include <string>

// Of every user, from now on, in this process; "": what the database says. Any thread.
void PlatformSetUserHome(std::string const& szHome);
