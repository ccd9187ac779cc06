// The server's side of the exception interface: the demultiplexer, and handlers that handle nothing, so that the system
// goes on to the next in line and makes its own report of the crash.
#include <mach/mach_exc.h>

#include <cstring>

namespace {

// What a request carries behind its header. A request is hostile until its size fits its counts.
struct Arguments {
    mach_port_t hThread = MACH_PORT_NULL, hTask = MACH_PORT_NULL;
    exception_type_t nException = 0;
    mach_msg_type_number_t nCodes = 0;
    int64_t arCodes[2] = {};
    int nFlavor = 0;
    mach_msg_type_number_t nState = 0;
    natural_t const* pState = nullptr; // in the request
};

// Reads a request from its front to its end.
class Reader {
public:
    explicit Reader(mach_msg_header_t const& oHead) noexcept
        : pAt(reinterpret_cast<char const*>(&oHead) + sizeof oHead),
          nLeft(oHead.msgh_size < sizeof oHead ? 0 : oHead.msgh_size - sizeof oHead) {}

    bool Skip(std::size_t nBytes) noexcept {
        if (nBytes > nLeft)
            return false;
        pAt += nBytes;
        nLeft -= nBytes;
        return true;
    }
    bool Read(void* pOut, std::size_t nBytes) noexcept {
        char const* const pFrom = pAt;
        if (!Skip(nBytes))
            return false;
        std::memcpy(pOut, pFrom, nBytes);
        return true;
    }
    char const* At() const noexcept { return pAt; }
    bool IsAtEnd() const noexcept { return nLeft == 0; }

private:
    char const* pAt;
    std::size_t nLeft; // bytes
};

bool ReadPorts(Reader& oReader, Arguments& oArguments) noexcept {
    mach_msg_body_t oBody;
    mach_msg_port_descriptor_t oThread, oTask;
    if (!oReader.Read(&oBody, sizeof oBody) || oBody.msgh_descriptor_count != 2 ||
        !oReader.Read(&oThread, sizeof oThread) || !oReader.Read(&oTask, sizeof oTask) ||
        oThread.type != MACH_MSG_PORT_DESCRIPTOR || oTask.type != MACH_MSG_PORT_DESCRIPTOR)
        return false;
    oArguments.hThread = oThread.name;
    oArguments.hTask = oTask.name;
    return true;
}

bool ReadCodes(Reader& oReader, Arguments& oArguments) noexcept {
    return oReader.Skip(sizeof(NDR_record_t)) && oReader.Read(&oArguments.nException, sizeof oArguments.nException) &&
           oReader.Read(&oArguments.nCodes, sizeof oArguments.nCodes) && oArguments.nCodes <= 2 &&
           oReader.Read(oArguments.arCodes, oArguments.nCodes * sizeof oArguments.arCodes[0]);
}

bool ReadState(Reader& oReader, Arguments& oArguments) noexcept {
    if (!oReader.Read(&oArguments.nFlavor, sizeof oArguments.nFlavor) ||
        !oReader.Read(&oArguments.nState, sizeof oArguments.nState) || oArguments.nState > THREAD_STATE_MAX)
        return false;
    oArguments.pState = reinterpret_cast<natural_t const*>(oReader.At());
    return oReader.Skip(oArguments.nState * sizeof(natural_t));
}

bool ReadRequest(mach_msg_header_t const& oHead, bool bPorts, bool bState, Arguments& oArguments) noexcept {
    bool const bComplex = (oHead.msgh_bits & MACH_MSGH_BITS_COMPLEX) != 0;
    Reader oReader(oHead);
    return bComplex == bPorts && (!bPorts || ReadPorts(oReader, oArguments)) && ReadCodes(oReader, oArguments) &&
           (!bState || ReadState(oReader, oArguments)) && oReader.IsAtEnd();
}

// There is no room for a new state: none of the handlers gives one.
kern_return_t Raise(mach_port_t hPort, Arguments& o) noexcept {
    return catch_mach_exception_raise(hPort, o.hThread, o.hTask, o.nException, o.arCodes, o.nCodes);
}
kern_return_t RaiseState(mach_port_t hPort, Arguments& o) noexcept {
    mach_msg_type_number_t nNewState = 0;
    return catch_mach_exception_raise_state(hPort, o.nException, o.arCodes, o.nCodes, &o.nFlavor,
                                            const_cast<thread_state_t>(o.pState), o.nState, nullptr, &nNewState);
}
kern_return_t RaiseStateIdentity(mach_port_t hPort, Arguments& o) noexcept {
    mach_msg_type_number_t nNewState = 0;
    return catch_mach_exception_raise_state_identity(hPort, o.hThread, o.hTask, o.nException, o.arCodes, o.nCodes,
                                                     &o.nFlavor, const_cast<thread_state_t>(o.pState), o.nState,
                                                     nullptr, &nNewState);
}

struct Routine {
    mach_msg_id_t nId;
    bool bPorts, bState;
    kern_return_t (*pCall)(mach_port_t, Arguments&) noexcept;
};
constexpr Routine kRoutines[] = {
    {MACH_EXC_RAISE_ID, true, false, Raise},
    {MACH_EXC_RAISE_STATE_ID, false, true, RaiseState},
    {MACH_EXC_RAISE_STATE_IDENTITY_ID, true, true, RaiseStateIdentity},
};

} // namespace

extern "C" {

boolean_t mach_exc_server(mach_msg_header_t* InHeadP, mach_msg_header_t* OutHeadP) {
    auto& oReply = *reinterpret_cast<mig_reply_error_t*>(OutHeadP);
    oReply = {};
    oReply.Head.msgh_bits = MACH_MSGH_BITS(MACH_MSGH_BITS_REMOTE(InHeadP->msgh_bits), 0u);
    oReply.Head.msgh_remote_port = InHeadP->msgh_remote_port;
    oReply.Head.msgh_size = sizeof oReply;
    oReply.Head.msgh_id = static_cast<mach_msg_id_t>(static_cast<unsigned>(InHeadP->msgh_id) + 100); // may wrap
    oReply.NDR = NDR_record;
    for (Routine const& oRoutine : kRoutines)
        if (oRoutine.nId == InHeadP->msgh_id) {
            Arguments oArguments;
            bool const bSound = ReadRequest(*InHeadP, oRoutine.bPorts, oRoutine.bState, oArguments);
            oReply.RetCode = bSound ? oRoutine.pCall(InHeadP->msgh_local_port, oArguments) : MIG_BAD_ARGUMENTS;
            return true;
        }
    oReply.RetCode = MIG_BAD_ID;
    return false;
}

kern_return_t catch_mach_exception_raise(mach_port_t, mach_port_t, mach_port_t, exception_type_t, mach_exception_data_t,
                                         mach_msg_type_number_t) {
    return KERN_FAILURE;
}

kern_return_t catch_mach_exception_raise_state(mach_port_t, exception_type_t, mach_exception_data_t,
                                               mach_msg_type_number_t, int*, thread_state_t, mach_msg_type_number_t,
                                               thread_state_t, mach_msg_type_number_t*) {
    return KERN_FAILURE;
}

kern_return_t catch_mach_exception_raise_state_identity(mach_port_t, mach_port_t, mach_port_t, exception_type_t,
                                                        mach_exception_data_t, mach_msg_type_number_t, int*,
                                                        thread_state_t, mach_msg_type_number_t, thread_state_t,
                                                        mach_msg_type_number_t*) {
    return KERN_FAILURE;
}

} // extern "C"
