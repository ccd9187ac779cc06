// The folders in which the system keeps its own files. Each is made, mode 0777 less the umask, if it is missing. The
// outputs hold 260 bytes. False, with the path where it could be found and "" otherwise, when the folder is not there
// in the end. Any thread.
#pragma once

namespace LFile {

// The user's caches folder; "Library/Caches" in the home folder where the platform names none.
bool GetTempFolder(char* szOut) noexcept;

// This product's folder in the user's Application Support folder ("Library/Application Support" in the home folder
// where the platform names none), and a folder in it.
bool GetUserDataFolderApp(char* szOut) noexcept;
bool GetUserDataFolderAppSubFolder(char* szOut, char const* szSubFolder) noexcept;

// The user's Application Support folder itself, which is not made here: false when its path can't be had.
bool FindUserDataFolder(char* szOut) noexcept;

} // namespace LFile
