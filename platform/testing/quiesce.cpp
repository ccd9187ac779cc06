#include "platform/testing/quiesce.h"

void PlatformQuiesce() {}
