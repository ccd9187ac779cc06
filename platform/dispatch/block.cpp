// Block objects.
#include "platform/dispatch/object.h"

#include <memory>
#include <utility>

namespace platform {
namespace {

class BlockObject {
public:
    explicit BlockObject(dispatch_block_t oBlockToRun) : oBlock(std::move(oBlockToRun)) {}

    void Run() {
        if (Begin(false))
            End(oBlock);
    }
    void Cancel() {
        if (Begin(true))
            End([] {});
    }
    bool IsCancelled() {
        std::lock_guard oLock(mtx);
        return bCancelled;
    }
    bool Wait(dispatch_time_t nUntil) {
        std::unique_lock oLock(mtx);
        return WaitOn(cvEnded, oLock, nUntil, [this] { return eStage == Stage::Ended; });
    }

private:
    enum class Stage { NotBegun, Begun, Ended };

    bool Begin(bool bByCancel) {
        std::lock_guard oLock(mtx);
        bCancelled = bCancelled || bByCancel;
        return std::exchange(eStage, eStage == Stage::NotBegun ? Stage::Begun : eStage) == Stage::NotBegun;
    }

    // What the block captured goes before anybody is told.
    void End(dispatch_block_t const& oLast) {
        oLast();
        oBlock = nullptr;
        std::lock_guard oLock(mtx);
        eStage = Stage::Ended;
        cvEnded.notify_all();
    }

    dispatch_block_t oBlock; // of who made the stage Begun
    std::mutex mtx;          // guards what follows
    std::condition_variable cvEnded;
    Stage eStage = Stage::NotBegun;
    bool bCancelled = false;
};

// What a std::function holds of one, so that it can be found again.
struct Submitted {
    std::shared_ptr<BlockObject> pObject;
    void operator()() const { pObject->Run(); }
};

BlockObject& ObjectOf(dispatch_block_t const& oBlock) {
    return *oBlock.target<Submitted>()->pObject;
}

} // namespace
} // namespace platform

using namespace platform;

dispatch_block_t dispatch_block_create(dispatch_block_flags_t flags, dispatch_block_t block) {
    if (flags != 0 || !block)
        return nullptr;
    return Submitted{std::make_shared<BlockObject>(std::move(block))};
}

void dispatch_block_cancel(dispatch_block_t block) {
    ObjectOf(block).Cancel();
}
intptr_t dispatch_block_testcancel(dispatch_block_t block) {
    return ObjectOf(block).IsCancelled() ? 1 : 0;
}
intptr_t dispatch_block_wait(dispatch_block_t block, dispatch_time_t timeout) {
    return ObjectOf(block).Wait(timeout) ? 0 : 1;
}
