// The executable of the bundle that the bundle tests load.
extern "C" __attribute__((visibility("default"))) int LoadableAnswer();
extern "C" __attribute__((visibility("default"))) int LoadableCounter;

int LoadableCounter = 0;
int LoadableAnswer() {
    return ++LoadableCounter;
}
