// Stands in for <AppKit/NSView.h>: the class of views, by name. Nothing here draws, so there is nothing else to say of
// it; what takes a view hands it on.
// Differs from the OS: the class has no members, and no object of it can be made.
#pragma once

class NSView;
