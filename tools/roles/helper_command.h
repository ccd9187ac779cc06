// `lumora helper`: the broker that tells plug-ins where the recorder is.
#pragma once

struct HelperOptions {
    int nControl = -1; // descriptor; -1: none
};

// Serves until it is told to stop. Prints, one EventLine each:
//   ready service=
//   recorder pid=                   (a recorder has offered its endpoint, or is the newest that is left)
//   recorder-gone                   (the newest has taken it back, or died)
//   handed-out pid=                 (a plug-in's process has been sent the endpoint)
// Returns the exit status; throws Failure.
int RunHelper(HelperOptions const& oOptions);
