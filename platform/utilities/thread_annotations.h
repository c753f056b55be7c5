#pragma once

/// Names for clang's thread-safety analysis (`-Wthread-safety`); empty for every other compiler.
///
/// A member names the lock that guards it, a helper names the lock that its caller must hold, and clang refuses a
/// build in which one of them is forgotten.
/// Source: https://clang.llvm.org/docs/ThreadSafetyAnalysis.html

#if defined(__clang__)
/// An attribute of the analysis, for clang.
#define VEXORA_THREAD_ANNOTATION(x) __attribute__((x))
#else
/// Nothing, for a compiler without the analysis.
#define VEXORA_THREAD_ANNOTATION(x)
#endif

/// On a class: its objects are locks, called `name` in the compiler's messages.
#define VEXORA_CAPABILITY(name) VEXORA_THREAD_ANNOTATION(capability(name))
/// On a class: its objects hold a lock from construction to destruction.
#define VEXORA_SCOPED_CAPABILITY VEXORA_THREAD_ANNOTATION(scoped_lockable)
/// On a member: read with `lock` held in either mode, changed with `lock` held alone.
#define VEXORA_GUARDED_BY(lock) VEXORA_THREAD_ANNOTATION(guarded_by(lock))
/// On a lock: a thread that takes both takes the locks named first.
#define VEXORA_ACQUIRED_AFTER(...) VEXORA_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
/// On a function: its caller holds the locks named, alone.
#define VEXORA_REQUIRES(...) VEXORA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
/// On a function: its caller holds the locks named, at least for reading.
#define VEXORA_REQUIRES_SHARED(...) VEXORA_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
/// On a function: its caller must not hold the locks named, for the function takes them.
#define VEXORA_EXCLUDES(...) VEXORA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
/// On a function: takes the lock, its own object when none is named, and returns with it held alone.
#define VEXORA_ACQUIRE(...) VEXORA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
/// On a function: takes the lock likewise, for reading.
#define VEXORA_ACQUIRE_SHARED(...) VEXORA_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
/// On a function: releases the lock that its caller holds, in either mode for a scoped guard.
#define VEXORA_RELEASE(...) VEXORA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
/// On a function: releases the lock that its caller holds for reading.
#define VEXORA_RELEASE_SHARED(...) VEXORA_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
