// URLs and files opened for the user.
#pragma once

// Opens a URL, or a file by its path or file URL, in the user's default application for it and then, from the main
// queue, brings that application to the front. What has no scheme and is no path is taken for the address of a web
// page: "http://" goes in front. Nothing happens when that makes no URL. Any thread; never waits.
void LOpenWebPage(char const* szTarget) noexcept;
