// The executable of the bundle that the bundle tests load, and what the unload tests unload.
extern "C" __attribute__((visibility("default"))) int LoadableAnswer();
extern "C" __attribute__((visibility("default"))) int LoadableCounter;

extern "C" __attribute__((visibility("default"))) void (*LoadableAtUnload)();

int LoadableCounter = 0;
void (*LoadableAtUnload)() = nullptr;
int LoadableAnswer() {
    return ++LoadableCounter;
}

namespace {
struct Unload {
    ~Unload() {
        if (LoadableAtUnload)
            LoadableAtUnload();
    }
} const gUnload;
} // namespace
