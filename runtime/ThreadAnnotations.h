#pragma once

/// Which lock guards what, checked by Clang (-Wthread-safety) and nothing elsewhere.
#if defined(__clang__)
#define QX_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QX_THREAD_ANNOTATION(x)
#endif

#define QX_CAPABILITY(name) QX_THREAD_ANNOTATION(capability(name))
#define QX_SCOPED_CAPABILITY QX_THREAD_ANNOTATION(scoped_lockable)
#define QX_GUARDED_BY(lock) QX_THREAD_ANNOTATION(guarded_by(lock))
#define QX_REQUIRES(...) QX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define QX_EXCLUDES(...) QX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define QX_ACQUIRE(...) QX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define QX_RELEASE(...) QX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define QX_RETURN_CAPABILITY(lock) QX_THREAD_ANNOTATION(lock_returned(lock))
#define QX_NO_THREAD_SAFETY_ANALYSIS QX_THREAD_ANNOTATION(no_thread_safety_analysis)
