// Test door: objects of the device registry that were handed out and not released.
#pragma once

int PlatformCountRegistryObjects();
