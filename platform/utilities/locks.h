#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <ctime>

#include "platform/utilities/thread_annotations.h"

namespace utilities::lock {

/// A plain, non-recursive pthread mutex with default attributes. Taken through `lock_guard` only.
///
/// Threads: any. Fails: never reports; a second lock by the owner deadlocks, as with any default mutex.
class VEXORA_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() VEXORA_ACQUIRE() { pthread_mutex_lock(&mutex_); }
  void Unlock() VEXORA_RELEASE() { pthread_mutex_unlock(&mutex_); }

 private:
  friend class CondVar;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// A pthread condition variable, waited for with a `Mutex` held. Its deadlines are those of the monotonic clock.
///
/// A wait may also end without a notification, so callers ask for their condition in a loop.
///
/// Threads: any. Fails: never reports.
/// Source:  pthread_cond_wait(3), pthread_condattr_setclock(3).
class CondVar {
 public:
  CondVar() {
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&condition_, &attributes);
    pthread_condattr_destroy(&attributes);
  }
  ~CondVar() { pthread_cond_destroy(&condition_); }
  CondVar(const CondVar&) = delete;
  CondVar& operator=(const CondVar&) = delete;

  void NotifyOne() { pthread_cond_signal(&condition_); }
  void NotifyAll() { pthread_cond_broadcast(&condition_); }

  /// Lets go of `mutex` until there is a notification, and holds it again on return.
  void Wait(Mutex& mutex) VEXORA_REQUIRES(mutex) { pthread_cond_wait(&condition_, &mutex.mutex_); }

  /// The same, but not beyond `deadline`. False when that has passed.
  bool WaitUntil(Mutex& mutex, std::chrono::steady_clock::time_point deadline) VEXORA_REQUIRES(mutex) {
    const auto since_boot = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline.time_since_epoch()).count();
    constexpr long long kNanosecondsPerSecond = 1'000'000'000;
    timespec until{};
    until.tv_sec = static_cast<time_t>(since_boot / kNanosecondsPerSecond);
    until.tv_nsec = static_cast<long>(since_boot % kNanosecondsPerSecond);
    return pthread_cond_timedwait(&condition_, &mutex.mutex_, &until) == 0;
  }

 private:
  pthread_cond_t condition_{};
};

/// A pthread read-write lock with default attributes, behind a gate that keeps a waiting writer from starving.
///
/// A read-write lock with default attributes prefers readers: as long as their read sections overlap, a writer waits,
/// for seconds with two busy readers and for ever with eight. The gate holds *new* readers back while a writer waits,
/// so that a writer waits no longer than the read sections that had begun before it came. Readers go on as soon as the
/// writers that wait have had their turn.
///
/// Taken through `lock_guard_read` and `lock_guard_write` only. Not recursive in either mode: a thread that reads must
/// not read again, for a writer may have come to the gate in between.
/// Threads: any.
/// Source:  pthread_rwlockattr_setkind_np(3), PTHREAD_RWLOCK_PREFER_READER_NP.
class VEXORA_CAPABILITY("read-write lock") RwLock {
 public:
  RwLock() = default;
  ~RwLock() {
    pthread_rwlock_destroy(&lock_);
    pthread_cond_destroy(&gate_opened_);
    pthread_mutex_destroy(&gate_);
  }
  RwLock(const RwLock&) = delete;
  RwLock& operator=(const RwLock&) = delete;

  void LockRead() VEXORA_ACQUIRE_SHARED() {
    WaitAtGate();
    pthread_rwlock_rdlock(&lock_);
  }
  void UnlockRead() VEXORA_RELEASE_SHARED() { pthread_rwlock_unlock(&lock_); }

  void LockWrite() VEXORA_ACQUIRE() {
    CloseGate();
    pthread_rwlock_wrlock(&lock_);
    OpenGate();
  }
  void UnlockWrite() VEXORA_RELEASE() { pthread_rwlock_unlock(&lock_); }

 private:
  /// The common case, no writer waiting, costs one atomic load.
  void WaitAtGate() {
    if (waiting_writers_.load() == 0) return;
    pthread_mutex_lock(&gate_);
    while (waiting_writers_.load() != 0) pthread_cond_wait(&gate_opened_, &gate_);
    pthread_mutex_unlock(&gate_);
  }
  void CloseGate() { waiting_writers_.fetch_add(1); }
  void OpenGate() {
    pthread_mutex_lock(&gate_);  // a reader between its check and its wait must not miss the broadcast
    if (waiting_writers_.fetch_sub(1) == 1) pthread_cond_broadcast(&gate_opened_);
    pthread_mutex_unlock(&gate_);
  }

  pthread_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
  pthread_mutex_t gate_ = PTHREAD_MUTEX_INITIALIZER;  // guards nothing but the wait at the gate
  pthread_cond_t gate_opened_ = PTHREAD_COND_INITIALIZER;
  std::atomic<int> waiting_writers_{0};
};

/// Holds a mutex until the end of the scope.
class VEXORA_SCOPED_CAPABILITY lock_guard {
 public:
  explicit lock_guard(Mutex& mutex) VEXORA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~lock_guard() VEXORA_RELEASE() { mutex_.Unlock(); }
  lock_guard(const lock_guard&) = delete;
  lock_guard& operator=(const lock_guard&) = delete;

 private:
  Mutex& mutex_;
};

/// Holds a read-write lock for reading until the end of the scope, also when an exception passes.
class VEXORA_SCOPED_CAPABILITY lock_guard_read {
 public:
  explicit lock_guard_read(RwLock& lock) VEXORA_ACQUIRE_SHARED(lock) : lock_(lock) { lock_.LockRead(); }
  ~lock_guard_read() VEXORA_RELEASE() { lock_.UnlockRead(); }
  lock_guard_read(const lock_guard_read&) = delete;
  lock_guard_read& operator=(const lock_guard_read&) = delete;

 private:
  RwLock& lock_;
};

/// Holds a read-write lock for writing until the end of the scope, also when an exception passes.
class VEXORA_SCOPED_CAPABILITY lock_guard_write {
 public:
  explicit lock_guard_write(RwLock& lock) VEXORA_ACQUIRE(lock) : lock_(lock) { lock_.LockWrite(); }
  ~lock_guard_write() VEXORA_RELEASE() { lock_.UnlockWrite(); }
  lock_guard_write(const lock_guard_write&) = delete;
  lock_guard_write& operator=(const lock_guard_write&) = delete;

 private:
  RwLock& lock_;
};

}  // namespace utilities::lock
