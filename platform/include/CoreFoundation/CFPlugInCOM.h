// Stands in for <CoreFoundation/CFPlugIn.h> and <CoreFoundation/CFPlugInCOM.h>: the interface convention of plug-ins.
//
// Kept: the first slot of an interface table is reserved, QueryInterface, AddRef and Release follow; result codes.
// Differs from the OS: CFPlugInCreate and the factory registry do not exist (see CFBundle.h).
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFUUID.h>

typedef SInt32 HRESULT;
typedef UInt32 ULONG;
typedef void* LPVOID;
typedef CFUUIDBytes REFIID;

// What a bundle's factory looks like: an interface's reference, or NULL when it makes no plug-in of that type.
typedef void* (*CFPlugInFactoryFunction)(CFAllocatorRef allocator, CFUUIDRef typeUUID);

#define SUCCEEDED(Status) ((HRESULT)(Status) >= 0)
#define FAILED(Status) ((HRESULT)(Status) < 0)

#define S_OK ((HRESULT)0x00000000L)
#define S_FALSE ((HRESULT)0x00000001L)
#define E_UNEXPECTED ((HRESULT)0x8000FFFFL)
#define E_NOTIMPL ((HRESULT)0x80000001L)
#define E_OUTOFMEMORY ((HRESULT)0x80000002L)
#define E_INVALIDARG ((HRESULT)0x80000003L)
#define E_NOINTERFACE ((HRESULT)0x80000004L)
#define E_POINTER ((HRESULT)0x80000005L)
#define E_FAIL ((HRESULT)0x80000008L)

#define STDMETHODCALLTYPE

#define IUnknownUUID                                                                                                   \
    CFUUIDGetConstantUUIDWithBytes(nullptr, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xC0, 0x00, 0x00, 0x00,    \
                                   0x00, 0x00, 0x00, 0x46)

#define IUNKNOWN_C_GUTS                                                                                                \
    void* _reserved;                                                                                                   \
    HRESULT(STDMETHODCALLTYPE* QueryInterface)(void* thisPointer, REFIID iid, LPVOID* ppv);                            \
    ULONG(STDMETHODCALLTYPE* AddRef)(void* thisPointer);                                                               \
    ULONG(STDMETHODCALLTYPE* Release)(void* thisPointer)

typedef struct IUnknownVTbl {
    IUNKNOWN_C_GUTS;
} IUnknownVTbl;
