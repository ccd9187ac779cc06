// Stands in for <Foundation/NSObject.h>: the root of counted objects, and running a method on the main thread.
//
// Kept: an object begins with one reference, its maker's; the release of the last one calls dealloc; autorelease gives
// one back when the thread's innermost pool ends (<Foundation/NSAutoreleasePool.h>). Counting is atomic: any thread.
// Differs from the OS:
// - Objects are of C++ classes: `alloc` of a class is a function of its own that calls new, `dealloc` overrides end
//   with a call of NSObject::dealloc, and a message to null is a crash.
// - A selector is a pointer to a member function that takes one object; who has no use for that ignores it. For
//   respondsToSelector it is the method's name.
// - Autorelease without a pool keeps the object until the thread ends, and says nothing.
#pragma once

#include <atomic>

class NSObject;

// A method as performSelectorOnMainThread calls it.
using NSSelector = void (NSObject::*)(NSObject*);

class NSObject {
public:
    NSObject(NSObject const&) = delete;
    NSObject& operator=(NSObject const&) = delete;

    NSObject* retain() noexcept;
    void release() noexcept;
    NSObject* autorelease();
    unsigned long retainCount() const noexcept;

    // Whether the object's class has a method of this name; here, of those that some classes have and others do not.
    virtual bool respondsToSelector(char const* szSelector) const noexcept;

    // Calls the method with the object (may be null) on the main thread, both retained until then. With
    // `waitUntilDone` it returns when that has happened, and on the main thread calls at once; without, always from the
    // main run loop, in the order of the calls. Any thread.
    void performSelectorOnMainThread(NSSelector selector, NSObject* withObject, bool waitUntilDone);

protected:
    NSObject() noexcept;
    virtual ~NSObject();

    // Runs when the last reference is gone; frees the object.
    virtual void dealloc();

private:
    std::atomic<unsigned long> nReferences{1};
};
