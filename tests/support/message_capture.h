#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "monitor/engine/filter.h"

namespace test {

/// The handle of the connection with this number.
lws* Connection(std::uintptr_t number);

/// A filter for this view and device.
std::shared_ptr<Filter> FilterOf(const std::string& interval, const std::string& mac = "");

/// One message that a monitor handed to the send function.
struct SentMessage {
  lws* connection;
  std::string text;

  friend bool operator==(const SentMessage&, const SentMessage&) = default;
};
std::ostream& operator<<(std::ostream& out, const SentMessage& message);

/// Is the host's send function for as long as it lives, and keeps what is sent. One at a time.
class MessageCapture {
 public:
  MessageCapture();
  ~MessageCapture();
  MessageCapture(const MessageCapture&) = delete;
  MessageCapture& operator=(const MessageCapture&) = delete;

  /// The messages sent since the last call, in order. Threads: any.
  std::vector<SentMessage> Take();
};

/// One sample as a traffic message shows it.
struct Sample {
  std::int64_t minute = 0;  ///< Since the epoch.
  std::int64_t input = 0;
  std::int64_t output = 0;

  friend bool operator==(const Sample&, const Sample&) = default;
};
std::ostream& operator<<(std::ostream& out, const Sample& sample);

/// Interface display name -> samples, of one device in a traffic message for `view`. Members that are no interface are
/// left out.
std::map<std::string, std::vector<Sample>> SamplesIn(const std::string& message, const std::string& view,
                                                     const std::string& mac);

}  // namespace test
