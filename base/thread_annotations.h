// What clang's thread-safety analysis is told about locks: which field a mutex guards, which function wants it held.
// Nothing to other compilers. This is the one file above the platform layer that asks which compiler reads it.
#pragma once

#if defined(__clang__)
#define L_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define L_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(name) L_THREAD_ATTRIBUTE(capability(name))
#define SCOPED_CAPABILITY L_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(mutex) L_THREAD_ATTRIBUTE(guarded_by(mutex))
#define PT_GUARDED_BY(mutex) L_THREAD_ATTRIBUTE(pt_guarded_by(mutex))
#define REQUIRES(...) L_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) L_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define ACQUIRE(...) L_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) L_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) L_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define TRY_ACQUIRE(...) L_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define RELEASE(...) L_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define RETURN_CAPABILITY(x) L_THREAD_ATTRIBUTE(lock_returned(x))
#define NO_THREAD_SAFETY_ANALYSIS L_THREAD_ATTRIBUTE(no_thread_safety_analysis)
