#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "probe/uplink/sqlite_handles.h"

namespace probe::uplink {

/// A text on its way to the stream.
struct SpooledMessage {
  std::int64_t number = 0;  ///< Its place in the spool: a later one has a greater number, whatever the clock said.
  std::string topic;        ///< Last part of its subject.
  std::string id;           ///< What tells it from all others of this site and topic: the time that it is of.
  time_t at = 0;            ///< The same as a time.
  std::string text;
};

struct SpoolBounds {
  std::uint64_t bytes = 0;  ///< Of texts.
  std::chrono::seconds age{0};
};

/// What a bound cut off, of one topic.
struct CutMessages {
  std::uint64_t count = 0;
  time_t first = 0;  ///< Times of the oldest and the newest of them.
  time_t last = 0;
};

/// The disk does not take or give what waits. The text says why.
class SpoolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The file is no spool, or no longer one.
class BrokenSpool : public SpoolError {
 public:
  using SpoolError::SpoolError;
};

/// The texts that no server has acknowledged yet, oldest first, in a file: a restart, a kill or a failure of power
/// loses none that `Append` has taken.
///
/// Threads: one at a time. Fails: each function throws `SpoolError`, and changed nothing then.
class Spool {
 public:
  /// Opens the file, or creates it for its owner's eyes only. Fails: also throws `BrokenSpool`.
  Spool(const std::string& file, SpoolBounds bounds);
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;
  ~Spool() = default;

  /// Puts texts behind those that wait, all or none, and cuts off what is above a bound, oldest first; the numbers that
  /// the texts bring do not matter. What was cut, by topic.
  ///
  /// `now` is the time by which ages count: texts that are of a later time, as after a step of the clock, are not old.
  std::map<std::string, CutMessages> Append(const std::vector<SpooledMessage>& messages, time_t now);

  /// The oldest that wait behind the number `after`, at most `count` of them, and no more octets than `bytes` but one
  /// text in any case.
  std::vector<SpooledMessage> After(std::int64_t after, std::size_t count, std::size_t bytes) const;

  /// Forgets those that a server has acknowledged, all or none; those that were cut off meanwhile do not matter.
  void Remove(const std::vector<std::int64_t>& numbers);

  /// How much waits.
  struct Waiting {
    std::uint64_t messages = 0;
    std::uint64_t bytes = 0;  ///< Of texts.

    void Add(std::uint64_t size) {
      ++messages;
      bytes += size;
    }
    void Take(std::uint64_t size) {
      --messages;
      bytes -= size;
    }
  };
  Waiting waiting() const { return waiting_; }

 private:
  SqliteStatement Prepare(const char* sql) const;
  void Execute(const char* sql) const;
  void InOneStep(const std::function<void()>& change);
  void Insert(const SpooledMessage& message);
  void RemoveOne(std::int64_t number);
  std::map<std::string, CutMessages> CutOff(time_t now);
  void Count();
  [[noreturn]] void Fail(const char* doing) const;

  const SpoolBounds bounds_;
  SqliteDatabase database_;
  Waiting waiting_;
};

}  // namespace probe::uplink
