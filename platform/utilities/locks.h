#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <ctime>

#include "platform/utilities/thread_annotations.h"  // IWYU pragma: export

namespace utilities::lock {

/// A plain, non-recursive pthread mutex with default attributes. Taken through `lock_guard` only.
///
/// Owner:   the object whose members it guards; it must not be destroyed while a thread holds it.
/// Threads: any. Unlocked by the thread that locked it.
/// Fails:   never reports; a second lock by the owner deadlocks, as with any default mutex.
/// Source:  pthread_mutex_lock(3).
class VEXORA_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  ~Mutex() { pthread_mutex_destroy(&mutex_); }
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Waits until no other thread holds the mutex, then holds it. For `lock_guard`.
  void Lock() VEXORA_ACQUIRE() { pthread_mutex_lock(&mutex_); }
  /// Releases the mutex, which the caller holds. For `lock_guard`.
  void Unlock() VEXORA_RELEASE() { pthread_mutex_unlock(&mutex_); }

 private:
  friend class CondVar;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// A pthread condition variable, waited for with a `Mutex` held. Its deadlines are those of the monotonic clock.
///
/// A wait may also end without a notification, so callers check their condition in a loop. The condition is a member
/// guarded by the same mutex.
///
/// Owner:   the object that owns the mutex; it must not be destroyed while a thread waits.
/// Threads: any.
/// Fails:   never reports.
/// Source:  pthread_cond_wait(3), pthread_condattr_setclock(3).
class CondVar {
 public:
  /// Chooses the monotonic clock, so that setting the time of day moves no deadline.
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

  /// Wakes one waiting thread, if any waits. The caller need not hold the mutex.
  void NotifyOne() { pthread_cond_signal(&condition_); }
  /// Wakes every waiting thread. The caller need not hold the mutex.
  void NotifyAll() { pthread_cond_broadcast(&condition_); }

  /// Releases `mutex` until there is a notification, and holds it again on return.
  void Wait(Mutex& mutex) VEXORA_REQUIRES(mutex) { pthread_cond_wait(&condition_, &mutex.mutex_); }

  /// The same, but no longer than until `deadline`. False when that has passed.
  ///
  /// Units: `deadline` by the monotonic clock; one in the past returns at once.
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

/// A pthread read-write lock with default attributes that also prefers waiting writers to new readers.
///
/// A read-write lock with default attributes prefers readers: as long as their read sections overlap, a writer waits,
/// for seconds with two busy readers and for ever with eight. This one blocks *new* readers while a writer waits, so
/// that a writer waits no longer than for the readers that held the lock before it asked. Readers go on as soon as no
/// writer waits.
///
/// Taken through `lock_guard_read` and `lock_guard_write` only. Not recursive in either mode: a second read lock of the
/// same thread would wait for a writer that waits for the first.
///
/// Owner:   the object whose members it guards; it must not be destroyed while a thread holds it.
/// Threads: any. Unlocked by the thread that locked it.
/// Fails:   never reports; a recursive lock deadlocks.
/// Source:  pthread_rwlockattr_setkind_np(3), PTHREAD_RWLOCK_PREFER_READER_NP.
class VEXORA_CAPABILITY("read-write lock") RwLock {
 public:
  RwLock() = default;
  ~RwLock() {
    pthread_rwlock_destroy(&lock_);
    pthread_cond_destroy(&no_writer_waits_);
    pthread_mutex_destroy(&readers_wait_);
  }
  RwLock(const RwLock&) = delete;
  RwLock& operator=(const RwLock&) = delete;

  /// Waits until no writer holds the lock or waits for it, then holds it together with other readers. For
  /// `lock_guard_read`.
  void LockRead() VEXORA_ACQUIRE_SHARED() {
    WaitForWriters();
    pthread_rwlock_rdlock(&lock_);
  }
  /// Releases the caller's read lock. For `lock_guard_read`.
  void UnlockRead() VEXORA_RELEASE_SHARED() { pthread_rwlock_unlock(&lock_); }

  /// Waits for the readers and the writer that hold the lock, then holds it alone. For `lock_guard_write`.
  void LockWrite() VEXORA_ACQUIRE() {
    waiting_writers_.fetch_add(1);
    pthread_rwlock_wrlock(&lock_);
    EndWritersWait();
  }
  /// Releases the caller's write lock. For `lock_guard_write`.
  void UnlockWrite() VEXORA_RELEASE() { pthread_rwlock_unlock(&lock_); }

 private:
  /// Holds the readers' mutex until the end of the scope.
  class ReadersWait {
   public:
    /// `mutex` must outlive the scope. Threads: any. Fails: never.
    explicit ReadersWait(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    ~ReadersWait() { pthread_mutex_unlock(&mutex_); }
    ReadersWait(const ReadersWait&) = delete;
    ReadersWait& operator=(const ReadersWait&) = delete;

   private:
    pthread_mutex_t& mutex_;
  };

  /// The common case, no writer waiting, costs one atomic load.
  void WaitForWriters() {
    if (waiting_writers_.load() == 0) return;
    const ReadersWait held(readers_wait_);  // a thread that is cancelled in its wait must not keep it
    while (waiting_writers_.load() != 0) pthread_cond_wait(&no_writer_waits_, &readers_wait_);
  }
  void EndWritersWait() {
    pthread_mutex_lock(&readers_wait_);  // a reader between its check and its wait must not miss the broadcast
    if (waiting_writers_.fetch_sub(1) == 1) pthread_cond_broadcast(&no_writer_waits_);
    pthread_mutex_unlock(&readers_wait_);
  }

  pthread_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
  pthread_mutex_t readers_wait_ = PTHREAD_MUTEX_INITIALIZER;  // guards the readers' wait for no_writer_waits_, no data
  pthread_cond_t no_writer_waits_ = PTHREAD_COND_INITIALIZER;
  std::atomic<int> waiting_writers_{0};
};

/// Holds a mutex until the end of the scope, also when an exception passes.
///
/// Owner: a local variable of the thread that locks. Threads: that one. Fails: as `Mutex`.
class VEXORA_SCOPED_CAPABILITY lock_guard {
 public:
  /// Waits for the mutex, which has to outlive the guard.
  explicit lock_guard(Mutex& mutex) VEXORA_ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~lock_guard() VEXORA_RELEASE() { mutex_.Unlock(); }
  lock_guard(const lock_guard&) = delete;
  lock_guard& operator=(const lock_guard&) = delete;

 private:
  Mutex& mutex_;
};

/// Holds a read-write lock for reading until the end of the scope, also when an exception passes.
///
/// Owner: a local variable of the thread that locks. Threads: that one. Fails: as `RwLock`.
class VEXORA_SCOPED_CAPABILITY lock_guard_read {
 public:
  /// Waits for the lock, which has to outlive the guard.
  explicit lock_guard_read(RwLock& lock) VEXORA_ACQUIRE_SHARED(lock) : lock_(lock) { lock_.LockRead(); }
  ~lock_guard_read() VEXORA_RELEASE() { lock_.UnlockRead(); }
  lock_guard_read(const lock_guard_read&) = delete;
  lock_guard_read& operator=(const lock_guard_read&) = delete;

 private:
  RwLock& lock_;
};

/// Holds a read-write lock for writing until the end of the scope, also when an exception passes.
///
/// Owner: a local variable of the thread that locks. Threads: that one. Fails: as `RwLock`.
class VEXORA_SCOPED_CAPABILITY lock_guard_write {
 public:
  /// Waits for the lock, which has to outlive the guard.
  explicit lock_guard_write(RwLock& lock) VEXORA_ACQUIRE(lock) : lock_(lock) { lock_.LockWrite(); }
  ~lock_guard_write() VEXORA_RELEASE() { lock_.UnlockWrite(); }
  lock_guard_write(const lock_guard_write&) = delete;
  lock_guard_write& operator=(const lock_guard_write&) = delete;

 private:
  RwLock& lock_;
};

}  // namespace utilities::lock
