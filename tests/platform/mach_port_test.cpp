#include "platform/testing/ports.h"
#include "tests/harness/child_process.h"
#include "tests/harness/faults.h"
#include "tests/harness/thread_state.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mach/mach_exc.h>
#include <mach/mach_port.h>
#include <mach/task.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr exception_mask_t kAll = EXC_MASK_BAD_ACCESS | EXC_MASK_BAD_INSTRUCTION | EXC_MASK_ARITHMETIC;
constexpr auto kBehaviour = static_cast<exception_behavior_t>(EXCEPTION_DEFAULT | MACH_EXCEPTION_CODES);

struct TestPort {
    TestPort() {
        EXPECT_EQ(mach_port_allocate(mach_task_self(), MACH_PORT_RIGHT_RECEIVE, &name), KERN_SUCCESS);
        EXPECT_EQ(mach_port_insert_right(mach_task_self(), name, name, MACH_MSG_TYPE_MAKE_SEND), KERN_SUCCESS);
    }
    ~TestPort() {
        mach_port_deallocate(mach_task_self(), name);
        Die();
    }
    void Die() { mach_port_mod_refs(mach_task_self(), name, MACH_PORT_RIGHT_RECEIVE, -1); }
    kern_return_t SetForExceptions() const {
        return task_set_exception_ports(mach_task_self(), kAll, name, kBehaviour, THREAD_STATE_NONE);
    }
    mach_port_name_t name = MACH_PORT_NULL;
};

struct Buffer {
    mach_msg_header_t head;
    char data[76];

    mach_msg_return_t Receive(mach_port_name_t at, mach_msg_option_t more = 0, mach_msg_size_t limit = sizeof(Buffer)) {
        return mach_msg(&head, MACH_RCV_MSG | more, 0, limit, at, 0, MACH_PORT_NULL);
    }
    mach_msg_return_t Send(mach_port_name_t to, unsigned bits = MACH_MSG_TYPE_COPY_SEND, mach_msg_size_t size = 36,
                           mach_msg_option_t more = 0) {
        head.msgh_bits = bits;
        head.msgh_remote_port = to;
        return mach_msg(&head, MACH_SEND_MSG | more, size, 0, MACH_PORT_NULL, 0, MACH_PORT_NULL);
    }
};

mach_msg_return_t ReceiveFault(mach_port_name_t at, __Request__mach_exception_raise_t& request) {
    Buffer buffer{};
    auto const result = buffer.Receive(at);
    std::memcpy(&request, &buffer, sizeof request);
    return result;
}

mach_msg_return_t Answer(__Request__mach_exception_raise_t const& request, kern_return_t code) {
    mig_reply_error_t reply{};
    reply.Head.msgh_bits = MACH_MSGH_BITS_REMOTE(request.Head.msgh_bits);
    reply.Head.msgh_remote_port = request.Head.msgh_remote_port;
    reply.Head.msgh_id = request.Head.msgh_id + 100;
    reply.RetCode = code;
    return mach_msg(&reply.Head, MACH_SEND_MSG, sizeof reply, 0, MACH_PORT_NULL, 0, MACH_PORT_NULL);
}

void AwaitReceiver() {
    while (PlatformReceivers() == 0)
        std::this_thread::yield();
}

int StatusOf(std::function<void()> const& body) {
    ChildProcess child([&](auto const&) {
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO); // a sanitizer's report
        body();
        return 0;
    });
    return child.WaitStatus();
}

} // namespace

TEST(MachPort, CarriesMessagesInOrderUpToItsLimitAndReportsEachMisuse) {
    TestPort const port;
    Buffer message{}, received{};
    for (mach_msg_id_t id = 1; id <= 5; ++id) {
        message.head.msgh_id = id;
        std::memset(message.data, id, sizeof message.data);
        EXPECT_EQ(message.Send(port.name, id % 2 ? MACH_MSG_TYPE_COPY_SEND : MACH_MSG_TYPE_MAKE_SEND, 30u + id), 0);
    }
    EXPECT_EQ(message.Send(port.name, MACH_MSG_TYPE_COPY_SEND, 36, MACH_SEND_TIMEOUT), MACH_SEND_TIMED_OUT);
    for (mach_msg_id_t id = 1; id <= 5; ++id) {
        mach_msg_size_t const size = 30u + id, whole = (size + 3) / 4 * 4 + MACH_MSG_TRAILER_MINIMUM_SIZE;
        EXPECT_EQ(received.Receive(port.name, 0, id == 3 ? whole - 1 : whole), id == 3 ? MACH_RCV_TOO_LARGE : 0);
        if (id == 3)
            continue; // lost
        EXPECT_EQ(received.head.msgh_id, id);
        EXPECT_EQ(received.head.msgh_size, size);
        EXPECT_EQ(received.head.msgh_local_port, port.name);
        EXPECT_EQ(received.data[size - sizeof received.head - 1], id);
    }
    EXPECT_EQ(received.Receive(port.name, MACH_RCV_TIMEOUT), MACH_RCV_TIMED_OUT);

    EXPECT_EQ(message.Send(port.name, MACH_MSG_TYPE_COPY_SEND, 23), MACH_SEND_MSG_TOO_SMALL);
    EXPECT_EQ(message.Send(port.name + 1), MACH_SEND_INVALID_DEST);
    EXPECT_EQ(message.Send(port.name, MACH_MSG_TYPE_MOVE_SEND_ONCE), MACH_SEND_INVALID_DEST);
    EXPECT_EQ(message.Send(port.name, MACH_MSG_TYPE_COPY_SEND | MACH_MSGH_BITS_COMPLEX), MACH_SEND_INVALID_HEADER);
    EXPECT_EQ(received.Receive(port.name + 1), MACH_RCV_INVALID_NAME);
    EXPECT_EQ(received.Receive(port.name, 0x8000), MACH_RCV_INVALID_OPTIONS);
    message.head.msgh_local_port = port.name;
    EXPECT_EQ(message.Send(port.name), MACH_SEND_INVALID_REPLY);
}

TEST(MachPort, CountsRightsAndKeepsADeadNameWhileItIsHeld) {
    mach_port_t const task = mach_task_self();
    mach_port_name_t name, other;
    EXPECT_EQ(mach_port_allocate(task, MACH_PORT_RIGHT_SEND, &name), KERN_INVALID_VALUE);
    EXPECT_EQ(mach_port_allocate(task + 1, MACH_PORT_RIGHT_RECEIVE, &name), KERN_INVALID_TASK);
    ASSERT_EQ(mach_port_allocate(task, MACH_PORT_RIGHT_RECEIVE, &name), KERN_SUCCESS);
    EXPECT_EQ(mach_port_deallocate(task, name), KERN_INVALID_RIGHT);
    EXPECT_EQ(mach_port_insert_right(task, name, name, MACH_MSG_TYPE_COPY_SEND), KERN_INVALID_RIGHT);
    EXPECT_EQ(task_set_exception_ports(task, kAll, name, kBehaviour, THREAD_STATE_NONE), KERN_INVALID_RIGHT);
    EXPECT_EQ(mach_port_insert_right(task, name, name, MACH_MSG_TYPE_MAKE_SEND), KERN_SUCCESS);
    EXPECT_EQ(mach_port_mod_refs(task, name, MACH_PORT_RIGHT_SEND, 2), KERN_SUCCESS);
    EXPECT_EQ(mach_port_mod_refs(task, name, MACH_PORT_RIGHT_SEND, -4), KERN_INVALID_VALUE);
    EXPECT_EQ(mach_port_mod_refs(task, name, MACH_PORT_RIGHT_RECEIVE, -1), KERN_SUCCESS);
    EXPECT_EQ(mach_port_mod_refs(task, name, MACH_PORT_RIGHT_RECEIVE, -1), KERN_INVALID_RIGHT);
    EXPECT_EQ(Buffer{}.Send(name), MACH_SEND_INVALID_DEST);
    for (kern_return_t const result : {KERN_SUCCESS, KERN_SUCCESS, KERN_SUCCESS, KERN_INVALID_NAME})
        EXPECT_EQ(mach_port_deallocate(task, name), result);
    std::vector<mach_port_name_t> held;
    while (mach_port_allocate(task, MACH_PORT_RIGHT_RECEIVE, &other) == KERN_SUCCESS) {
        EXPECT_NE(other, name);
        held.push_back(other);
    }
    EXPECT_EQ(held.size(), 64u);
    for (mach_port_name_t const each : held)
        EXPECT_EQ(mach_port_mod_refs(task, each, MACH_PORT_RIGHT_RECEIVE, -1), KERN_SUCCESS);
}

TEST(MachPort, LetsAWaitingThreadGoWhenItIsCancelledInterruptedOrThePortDies) {
    struct sigaction quiet {};
    quiet.sa_handler = [](int) {};
    sigaction(SIGUSR1, &quiet, nullptr);
    enum class End { Cancel, Interrupt, Death };
    for (End const end : {End::Cancel, End::Interrupt, End::Death}) {
        TestPort port;
        std::atomic<mach_msg_return_t> result{-1};
        std::pair<TestPort&, std::atomic<mach_msg_return_t>&> both{port, result};
        pthread_t waiter;
        auto const body = [](void* given) -> void* {
            auto& [at, out] = *static_cast<decltype(both)*>(given);
            Buffer buffer{};
            out = buffer.Receive(at.name, MACH_RCV_INTERRUPT);
            return nullptr;
        };
        ASSERT_EQ(pthread_create(&waiter, nullptr, body, &both), 0);
        if (end == End::Cancel)
            pthread_cancel(waiter);
        if (end == End::Death)
            port.Die();
        while (end == End::Interrupt && result == -1) { // also before it waits
            pthread_kill(waiter, SIGUSR1);
            sched_yield();
        }
        void* how = nullptr;
        ASSERT_EQ(pthread_join(waiter, &how), 0);
        EXPECT_EQ(how == PTHREAD_CANCELED, end == End::Cancel);
        if (end == End::Interrupt) {
            EXPECT_EQ(result, MACH_RCV_INTERRUPTED);
        }
        if (end == End::Death) { // before it waits, or while it does
            EXPECT_TRUE(result == MACH_RCV_PORT_DIED || result == MACH_RCV_INVALID_NAME) << result;
        }
    }
    signal(SIGUSR1, SIG_DFL);
}

TEST(MachPort, AreNotLockedInAForkedChild) {
    auto const UseAll = [] {
        TestPort const port;
        port.SetForExceptions();
        mach_port_deallocate(mach_task_self(), mach_thread_self());
    };
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done)
            UseAll();
    });
    int status = 0;
    for (int n = 0; n < 100 && status == 0; ++n) {
        pid_t const child = fork();
        if (child == 0) {
            alarm(60); // it would wait for good
            UseAll();
            _exit(testing::Test::HasFailure());
        }
        waitpid(child, &status, 0);
    }
    EXPECT_EQ(status, 0);
    done = true;
    other.join();
}

TEST(ExceptionPort, LetsTheThreadGoOnWhenTheReceiverHasMendedTheFault) {
    std::string const before = Dispositions();
    TestPort port;
    ASSERT_EQ(port.SetForExceptions(), KERN_SUCCESS);
    EXPECT_NE(Dispositions(), before);
    size_t const page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    int const file = memfd_create("short", MFD_CLOEXEC);
    void* const unreadable = mmap(nullptr, page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    void* const beyond = mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    void* const unmapped = mmap(nullptr, page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    struct {
        void* address;
        kern_return_t code;
        std::function<void()> mend;
    } const rows[] = {
        {unreadable, KERN_PROTECTION_FAILURE, [&] { mprotect(unreadable, page, PROT_WRITE); }},
        {beyond, KERN_MEMORY_ERROR, [&] { EXPECT_EQ(ftruncate(file, static_cast<off_t>(page)), 0); }},
        {unmapped, KERN_INVALID_ADDRESS,
         [&] { mmap(unmapped, page, PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0); }},
    };
    for (auto const& row : rows) {
        mach_port_t const writer = pthread_mach_thread_np(pthread_self());
        std::thread receiver([&] {
            __Request__mach_exception_raise_t request;
            ASSERT_EQ(ReceiveFault(port.name, request), MACH_MSG_SUCCESS);
            EXPECT_EQ(request.Head.msgh_id, 2405);
            EXPECT_EQ(request.Head.msgh_size, 84u);
            EXPECT_EQ(request.thread.name, writer);
            EXPECT_EQ(request.task.name, mach_task_self());
            EXPECT_EQ(request.exception, EXC_BAD_ACCESS);
            ASSERT_EQ(request.codeCnt, 2u);
            EXPECT_EQ(std::int64_t{request.code[0]}, row.code); // not where an int64_t may be referred to
            EXPECT_EQ(std::int64_t{request.code[1]}, reinterpret_cast<intptr_t>(row.address));
            row.mend();
            EXPECT_EQ(Answer(request, KERN_SUCCESS), MACH_MSG_SUCCESS);
            EXPECT_EQ(Answer(request, KERN_SUCCESS), MACH_SEND_INVALID_DEST);
        });
        AwaitReceiver();
        if (row.address == unmapped)
            munmap(unmapped, page); // now that no other thread could map something there
        WriteByte(static_cast<char*>(row.address));
        receiver.join();
    }
    close(file);
    munmap(unreadable, page);
    munmap(beyond, page);
    munmap(unmapped, page);
    port.Die();
    EXPECT_EQ(Dispositions(), before);
}

// What a process comes to in which a thread faults, is compared with the same process without a port.
TEST(ExceptionPort, EndsTheProcessAsItWouldHaveEndedHoweverTheReceiverFails) {
    using Receiver = void (*)(mach_port_name_t);
    struct {
        char const* what;
        Receiver receiver; // null: nobody receives
    } const receivers[] = {
        {"nobody there", nullptr},
        {"refuses",
         [](mach_port_name_t at) {
             __Request__mach_exception_raise_t request;
             if (ReceiveFault(at, request) == MACH_MSG_SUCCESS)
                 Answer(request, KERN_FAILURE);
             pause();
         }},
        {"ends without an answer",
         [](mach_port_name_t at) {
             __Request__mach_exception_raise_t request;
             ReceiveFault(at, request);
         }},
        {"has too little room", [](mach_port_name_t at) { Buffer{}.Receive(at, 0, 91), pause(); }},
        {"faults over the message",
         [](mach_port_name_t at) {
             mach_msg(reinterpret_cast<mach_msg_header_t*>(16), MACH_RCV_MSG, 0, 1000, at, 0, MACH_PORT_NULL);
         }},
        {"faults itself",
         [](mach_port_name_t at) {
             __Request__mach_exception_raise_t request;
             ReceiveFault(at, request);
             FaultUnmapped();
         }},
        {"answers nonsense",
         [](mach_port_name_t at) {
             __Request__mach_exception_raise_t request;
             ReceiveFault(at, request);
             request.Head.msgh_id = 7;
             Answer(request, KERN_SUCCESS);
             pause();
         }},
    };
    int const plain = StatusOf(FaultUnmapped);
    EXPECT_NE(plain, 0);
    for (auto const& row : receivers)
        EXPECT_EQ(StatusOf([&] {
                      TestPort const port;
                      port.SetForExceptions();
                      std::thread thread;
                      if (row.receiver) {
                          thread = std::thread(row.receiver, port.name);
                          AwaitReceiver();
                      }
                      FaultUnmapped();
                  }),
                  plain)
            << row.what;
    // The receiver's own signal handler faults while it waits: as without the port being the exceptions'.
    auto const FaultInHandler = [](bool set) {
        return StatusOf([set] {
            TestPort const port;
            if (set)
                port.SetForExceptions();
            signal(SIGUSR1, [](int) { FaultUnmapped(); });
            std::thread receiver([&] { Buffer{}.Receive(port.name); });
            AwaitReceiver();
            AwaitOthersAsleep();
            pthread_kill(receiver.native_handle(), SIGUSR1);
            receiver.join();
        });
    };
    int const plainInHandler = FaultInHandler(false);
    EXPECT_NE(plainInHandler, 0);
    EXPECT_EQ(FaultInHandler(true), plainInHandler);
}
