#include "runtime/notify/notify_data_object.h"

LNotifyDataObject* LNotifyDataObject::init(unsigned int nCodeToPost, void const* pBytes,
                                           unsigned long nLengthOrIntData) {
    nCode = nCodeToPost;
    nIntData = nLengthOrIntData;
    if (!pBytes)
        return this;
    pData = NSData::dataWithBytes(pBytes, nLengthOrIntData);
    if (!pData) {
        release();
        return nullptr;
    }
    pData->retain();
    return this;
}

void LNotifyDataObject::dealloc() {
    if (pData)
        pData->release();
    NSObject::dealloc();
}
