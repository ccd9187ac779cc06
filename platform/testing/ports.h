// Test door: what there is of the task's own ports.
#pragma once

// Ports that have a receive right, and dead names.
int PlatformPorts();

// Threads that are waiting to receive: a fault that happens now finds one.
int PlatformReceivers();
