// Stands in for <Foundation/NSData.h>: a block of bytes that does not change. Any thread.
//
// Differs from the OS: only what is declared here; a copy that there is no memory for is null.
#pragma once

#include <Foundation/NSObject.h>

#include <memory>

class NSData : public NSObject {
public:
    // An autoreleased copy of the bytes; null only when memory is short.
    static NSData* dataWithBytes(void const* bytes, unsigned long length);

    void const* bytes() const noexcept { return pBytes.get(); }
    unsigned long length() const noexcept { return nLength; }

private:
    NSData(std::unique_ptr<unsigned char[]> pCopy, unsigned long nLengthOfCopy) noexcept
        : pBytes(std::move(pCopy)), nLength(nLengthOfCopy) {}
    ~NSData() override = default;

    std::unique_ptr<unsigned char[]> pBytes;
    unsigned long nLength;
};
