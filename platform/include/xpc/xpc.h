// Stands in for <xpc/xpc.h>: typed, counted objects, and connections that carry dictionaries between processes.
// Any thread, except where said. The frames on the wire: docs/message-format.md.
//
// Kept:
// - Ownership. What a call named create or copy, or xpc_endpoint_create, returns holds one reference, the caller's.
//   Setters copy bytes, strings and UUIDs, duplicate descriptors and retain objects. Getters hand out what lives as
//   long as the object asked; a getter of another type than the entry's gives 0, false, 0.0, null, or -1.
// - A connection is created suspended. Its events (messages, errors, new peers) come one at a time, in order, to the
//   handler installed at that moment. Replies and barriers without a queue of their own come on the same thread.
// - Sending never waits for the peer. A barrier runs once everything sent before it has been handed over.
// - The last event of every connection that was cancelled, or can't be used any more, is
//   XPC_ERROR_CONNECTION_INVALID; then handler and captured references are released.
// - A connection by name sees XPC_ERROR_CONNECTION_INTERRUPTED when its peer goes away, and looks the name up again
//   with the next message; a connection from an endpoint, or of a listener's peer, then becomes invalid.
// - A reply handler runs exactly once: with the reply, or with the error that took its place.
// - A connection's finalizer runs when nothing is left of its handlers, and of the handlers of its replies and barriers.
// - An endpoint is a right to connect: whoever holds it, reaches its listener.
// Differs from the OS:
// - Where the compiler has no blocks, handlers are std::function.
// - A connection without a target queue runs its events on a thread of its own, not on a pool. Thread-local state, such
//   as dispatch labels, is not there.
// - Resuming a connection that is not suspended does nothing. Releasing the last reference to one that was not
//   cancelled, or is suspended, ends it: who waits for an answer hears XPC_ERROR_CONNECTION_INVALID, its handler
//   nothing more.
// - Nobody starts a server on demand. A connection to a name that nobody serves sees XPC_ERROR_CONNECTION_INVALID once,
//   and so does each message that wants an answer; but the name is looked up again with every message, and the
//   connection works from when somebody serves it.
// - xpc_connection_create with a name looks the name up as a mach service's: there are no bundled XPC services.
// - A receiver that stops reading costs the sender 4 MiB of memory at most: messages without reply beyond that are
//   dropped, and those with reply are answered with XPC_ERROR_CONNECTION_INTERRUPTED.
// - A message holds 256 MiB at most, 64 descriptors and endpoints, and dictionaries and arrays 32 deep; one beyond that
//   is refused by the sending side, its reply handler sees XPC_ERROR_CONNECTION_INVALID.
// - Values beyond numbers, strings, data, UUIDs, dates, descriptors, endpoints, arrays, dictionaries and null (shared
//   memory, activities, connections as values) are not there.
#pragma once

#include <dispatch/dispatch.h>

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#if !defined(__BLOCKS__)
#include <functional>
#endif

typedef void* xpc_object_t;
typedef struct _xpc_connection_s* xpc_connection_t;
typedef struct _xpc_endpoint_s* xpc_endpoint_t;
typedef struct _xpc_type_s const* xpc_type_t;

#if defined(__BLOCKS__)
typedef void (^xpc_handler_t)(xpc_object_t object);
typedef bool (^xpc_dictionary_applier_t)(char const* key, xpc_object_t value);
#else
using xpc_handler_t = std::function<void(xpc_object_t object)>;
using xpc_dictionary_applier_t = std::function<bool(char const* key, xpc_object_t value)>;
#endif
typedef void (*xpc_finalizer_t)(void* value);
typedef uint8_t uuid_t[16];

extern "C" {

extern struct _xpc_type_s const _xpc_type_connection, _xpc_type_endpoint, _xpc_type_null, _xpc_type_bool,
    _xpc_type_int64, _xpc_type_uint64, _xpc_type_double, _xpc_type_date, _xpc_type_data, _xpc_type_string,
    _xpc_type_uuid, _xpc_type_fd, _xpc_type_array, _xpc_type_dictionary, _xpc_type_error;
#define XPC_TYPE_CONNECTION (&_xpc_type_connection)
#define XPC_TYPE_ENDPOINT (&_xpc_type_endpoint)
#define XPC_TYPE_NULL (&_xpc_type_null)
#define XPC_TYPE_BOOL (&_xpc_type_bool)
#define XPC_TYPE_INT64 (&_xpc_type_int64)
#define XPC_TYPE_UINT64 (&_xpc_type_uint64)
#define XPC_TYPE_DOUBLE (&_xpc_type_double)
#define XPC_TYPE_DATE (&_xpc_type_date)
#define XPC_TYPE_DATA (&_xpc_type_data)
#define XPC_TYPE_STRING (&_xpc_type_string)
#define XPC_TYPE_UUID (&_xpc_type_uuid)
#define XPC_TYPE_FD (&_xpc_type_fd)
#define XPC_TYPE_ARRAY (&_xpc_type_array)
#define XPC_TYPE_DICTIONARY (&_xpc_type_dictionary)
#define XPC_TYPE_ERROR (&_xpc_type_error)

// The error events, told apart by identity. Never freed.
extern struct _xpc_error_s _xpc_error_connection_interrupted, _xpc_error_connection_invalid,
    _xpc_error_termination_imminent;
#define XPC_ERROR_CONNECTION_INTERRUPTED ((xpc_object_t)&_xpc_error_connection_interrupted)
#define XPC_ERROR_CONNECTION_INVALID ((xpc_object_t)&_xpc_error_connection_invalid)
#define XPC_ERROR_TERMINATION_IMMINENT ((xpc_object_t)&_xpc_error_termination_imminent)
// xpc_dictionary_get_string of an error under this key: what happened, in words.
#define XPC_ERROR_KEY_DESCRIPTION "XPCErrorDescription"

// Objects

// One more reference, and the object; one fewer, the last one frees. Not null.
xpc_object_t xpc_retain(xpc_object_t object);
void xpc_release(xpc_object_t object);

// The object's type, one of XPC_TYPE_*; null for null.
xpc_type_t xpc_get_type(xpc_object_t object);
char const* xpc_type_get_name(xpc_type_t type);

// The object in words, for people; the caller frees it with free(). Not null.
char* xpc_copy_description(xpc_object_t object);

// Equal in type and value; of connections, endpoints and descriptors, identical.
bool xpc_equal(xpc_object_t object1, xpc_object_t object2);

// Values. Bytes, strings and UUIDs are copied, descriptors duplicated (null when that fails).
xpc_object_t xpc_null_create(void);
xpc_object_t xpc_bool_create(bool value);
bool xpc_bool_get_value(xpc_object_t object);
xpc_object_t xpc_int64_create(int64_t value);
int64_t xpc_int64_get_value(xpc_object_t object);
xpc_object_t xpc_uint64_create(uint64_t value);
uint64_t xpc_uint64_get_value(xpc_object_t object);
xpc_object_t xpc_double_create(double value);
double xpc_double_get_value(xpc_object_t object);
// Nanoseconds since 1970.
xpc_object_t xpc_date_create(int64_t interval);
int64_t xpc_date_get_value(xpc_object_t object);
xpc_object_t xpc_data_create(void const* bytes, size_t length);
size_t xpc_data_get_length(xpc_object_t object);
void const* xpc_data_get_bytes_ptr(xpc_object_t object);
xpc_object_t xpc_string_create(char const* string);
size_t xpc_string_get_length(xpc_object_t object);
char const* xpc_string_get_string_ptr(xpc_object_t object);
xpc_object_t xpc_uuid_create(uuid_t const uuid);
uint8_t const* xpc_uuid_get_bytes(xpc_object_t object);
xpc_object_t xpc_fd_create(int fd);
// A new close-on-exec descriptor of the same file, the caller's to close; -1 when that fails.
int xpc_fd_dup(xpc_object_t object);

// Arrays

// The index of append: a new last element.
#define XPC_ARRAY_APPEND ((size_t)(-1))
xpc_object_t xpc_array_create(xpc_object_t const* objects, size_t count);
void xpc_array_set_value(xpc_object_t array, size_t index, xpc_object_t value);
void xpc_array_append_value(xpc_object_t array, xpc_object_t value);
size_t xpc_array_get_count(xpc_object_t array);
// The element, the array's; null beyond the end.
xpc_object_t xpc_array_get_value(xpc_object_t array, size_t index);

// Dictionaries. A dictionary has no lock: one thread at a time while anybody changes it.

// `count` entries from two arrays; both may be null with count 0.
xpc_object_t xpc_dictionary_create(char const* const* keys, xpc_object_t const* values, size_t count);

// The empty answer to a message received with a reply wanted. Null when none is wanted, when one was made already,
// and for anything but a received message.
xpc_object_t xpc_dictionary_create_reply(xpc_object_t original);

// Sets or replaces the entry under the key; null as the value removes it.
void xpc_dictionary_set_value(xpc_object_t dictionary, char const* key, xpc_object_t value);
void xpc_dictionary_set_bool(xpc_object_t dictionary, char const* key, bool value);
void xpc_dictionary_set_int64(xpc_object_t dictionary, char const* key, int64_t value);
void xpc_dictionary_set_uint64(xpc_object_t dictionary, char const* key, uint64_t value);
void xpc_dictionary_set_double(xpc_object_t dictionary, char const* key, double value);
void xpc_dictionary_set_date(xpc_object_t dictionary, char const* key, int64_t value);
// Copies `length` bytes: the only copy that a sent message makes. Sets nothing when there is no memory for them.
void xpc_dictionary_set_data(xpc_object_t dictionary, char const* key, void const* bytes, size_t length);
// A null string or UUID, or a descriptor that can't be duplicated, sets nothing.
void xpc_dictionary_set_string(xpc_object_t dictionary, char const* key, char const* string);
void xpc_dictionary_set_uuid(xpc_object_t dictionary, char const* key, uuid_t const uuid);
void xpc_dictionary_set_fd(xpc_object_t dictionary, char const* key, int fd);

// The entry, the dictionary's; null when there is none.
xpc_object_t xpc_dictionary_get_value(xpc_object_t dictionary, char const* key);
size_t xpc_dictionary_get_count(xpc_object_t dictionary);
// Calls the applier with each entry, in the order first set, until it answers false. False then.
bool xpc_dictionary_apply(xpc_object_t dictionary, xpc_dictionary_applier_t applier);
bool xpc_dictionary_get_bool(xpc_object_t dictionary, char const* key);
int64_t xpc_dictionary_get_int64(xpc_object_t dictionary, char const* key);
uint64_t xpc_dictionary_get_uint64(xpc_object_t dictionary, char const* key);
double xpc_dictionary_get_double(xpc_object_t dictionary, char const* key);
int64_t xpc_dictionary_get_date(xpc_object_t dictionary, char const* key);
// The bytes, with their count in *length (which may be null, and is left alone when there is no such data).
void const* xpc_dictionary_get_data(xpc_object_t dictionary, char const* key, size_t* length);
char const* xpc_dictionary_get_string(xpc_object_t dictionary, char const* key);
uint8_t const* xpc_dictionary_get_uuid(xpc_object_t dictionary, char const* key);
// A new close-on-exec descriptor, the caller's to close; -1 when there is none.
int xpc_dictionary_dup_fd(xpc_object_t dictionary, char const* key);

// The connection that a received message or reply came over; null for any other object, errors included. Not retained;
// lives as long as the message.
xpc_connection_t xpc_dictionary_get_remote_connection(xpc_object_t dictionary);

// Connections

#define XPC_CONNECTION_MACH_SERVICE_LISTENER (1ull << 0)
#define XPC_CONNECTION_MACH_SERVICE_PRIVILEGED (1ull << 1)

// A connection to a service by name; without a name, a listener that only its endpoint reaches. Created suspended,
// with one reference, the caller's. `targetq` (may be null) then runs its events. Never null.
xpc_connection_t xpc_connection_create(char const* name, dispatch_queue_t targetq);

// With XPC_CONNECTION_MACH_SERVICE_LISTENER serves the name to this user's processes, else connects to whoever does.
// What is wrong with the name or with the folder of names shows as XPC_ERROR_CONNECTION_INVALID after resuming.
xpc_connection_t xpc_connection_create_mach_service(char const* name, dispatch_queue_t targetq, uint64_t flags);

// A connection to the endpoint's listener, whose handler gets the other end.
xpc_connection_t xpc_connection_create_from_endpoint(xpc_endpoint_t endpoint);

// An endpoint of a listener without name; null for any other connection, and when descriptors ran out.
xpc_endpoint_t xpc_endpoint_create(xpc_connection_t connection);

// Replaces the event handler. A listener's handler receives connections, to be given a handler and resumed (from then
// on they live until they end, retained or not; not resumed, they end with the handler's return). Every other
// connection's handler receives dictionaries. Both receive errors.
void xpc_connection_set_event_handler(xpc_connection_t connection, xpc_handler_t handler);

// The queue that runs events and replies from the next event on; null: the connection's thread. Before resuming.
void xpc_connection_set_target_queue(xpc_connection_t connection, dispatch_queue_t targetq);

// Suspensions count; nothing is lost meanwhile. What was being handled when suspend was called still finishes.
void xpc_connection_suspend(xpc_connection_t connection);
void xpc_connection_resume(xpc_connection_t connection);
void xpc_connection_activate(xpc_connection_t connection);

// Ends the connection, once: outstanding barriers run, pending replies and then the handler get
// XPC_ERROR_CONNECTION_INVALID, then nothing comes any more. From any thread, and from the connection's handlers.
void xpc_connection_cancel(xpc_connection_t connection);

// Sends a dictionary; other objects are ignored. The message may be reused or released at once.
// Real-time threads: one system call; no waiting, also not for memory that a stuck peer would hold.
void xpc_connection_send_message(xpc_connection_t connection, xpc_object_t message);

// Runs the block once everything sent before has been handed to the transport, or was dropped with a connection that
// broke: on the target queue or on the connection's thread, never on the caller's, and not necessarily at once:
// barriers that nothing else wakes the connection for may wait some 50 ms for each other. Behind a peer that stopped
// reading 4096 wait at most; then the oldest run, in order, although their messages are still queued here.
void xpc_connection_send_barrier(xpc_connection_t connection, dispatch_block_t barrier);

// Sends a message that wants an answer: the handler runs once, on `replyq` or, with null, where events run.
void xpc_connection_send_message_with_reply(xpc_connection_t connection, xpc_object_t message, dispatch_queue_t replyq,
                                            xpc_handler_t handler);

// Waits for the answer and returns it, or an error; the caller's reference. Not from the connection's own handlers.
xpc_object_t xpc_connection_send_message_with_reply_sync(xpc_connection_t connection, xpc_object_t message);

// The name it was created with; null without one. As long as the connection.
char const* xpc_connection_get_name(xpc_connection_t connection);

// Who is at the other end, as the kernel says: 0 and -1 while that is nobody.
pid_t xpc_connection_get_pid(xpc_connection_t connection);
uid_t xpc_connection_get_euid(xpc_connection_t connection);

// A word of the caller's, and what frees it when the connection is freed.
void xpc_connection_set_context(xpc_connection_t connection, void* context);
void* xpc_connection_get_context(xpc_connection_t connection);
void xpc_connection_set_finalizer_f(xpc_connection_t connection, xpc_finalizer_t finalizer);

} // extern "C"
