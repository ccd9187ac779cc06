// One posted notification.
#pragma once

#include <Foundation/NSData.h>
#include <Foundation/NSObject.h>

// A code, and a copy of some bytes or a number. Counted; does not change once it is made. Any thread.
class LNotifyDataObject : public NSObject {
public:
    static LNotifyDataObject* alloc() { return new LNotifyDataObject; }

    // With a buffer: copies `nLengthOrIntData` bytes of it, so that it is the caller's again. Without (null):
    // `nLengthOrIntData` is a number that travels with the code. Gives the object; null, and the object is released,
    // when there is no memory for the copy.
    LNotifyDataObject* init(unsigned int nCode, void const* pBytes, unsigned long nLengthOrIntData);

    unsigned int code() const noexcept { return nCode; }

    // The copied bytes, null when no buffer was given; and their length, or the number.
    void const* bytes() const noexcept { return pData ? pData->bytes() : nullptr; }
    unsigned long length() const noexcept { return pData ? pData->length() : nIntData; }

protected:
    void dealloc() override;

private:
    unsigned int nCode = 0;
    unsigned long nIntData = 0;
    NSData* pData = nullptr; // retained
};
