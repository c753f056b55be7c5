#pragma once

/// Names for clang's thread-safety analysis (`-Wthread-safety`); empty for every other compiler.
///
/// A member names the lock that guards it, a helper names the lock that its caller must hold, and clang refuses a
/// build in which one of them is forgotten.
/// Source: https://clang.llvm.org/docs/ThreadSafetyAnalysis.html

#if defined(__clang__)
#define VEXORA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VEXORA_THREAD_ANNOTATION(x)
#endif

#define VEXORA_CAPABILITY(name) VEXORA_THREAD_ANNOTATION(capability(name))
#define VEXORA_SCOPED_CAPABILITY VEXORA_THREAD_ANNOTATION(scoped_lockable)
#define VEXORA_GUARDED_BY(lock) VEXORA_THREAD_ANNOTATION(guarded_by(lock))
#define VEXORA_ACQUIRED_AFTER(...) VEXORA_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
#define VEXORA_REQUIRES(...) VEXORA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define VEXORA_REQUIRES_SHARED(...) VEXORA_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define VEXORA_EXCLUDES(...) VEXORA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define VEXORA_ACQUIRE(...) VEXORA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define VEXORA_ACQUIRE_SHARED(...) VEXORA_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define VEXORA_RELEASE(...) VEXORA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define VEXORA_RELEASE_SHARED(...) VEXORA_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
