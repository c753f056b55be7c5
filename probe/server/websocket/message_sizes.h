#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace probe {

using TopicAndFilter = std::pair<std::string, std::string>;

/// How large the messages of filters are, learned from those that were sent.
///
/// A filter of which there was no message yet is taken for the largest of its kind: filters that name a device are one
/// kind, all others another. Filters are the plug-in's; that one member is the same for all of them.
/// Threads: none of its own, no lock.
class MessageSizes {
 public:
  /// One more subscription has this filter, or one fewer.
  void Use(const TopicAndFilter& key);
  void Release(const TopicAndFilter& key);

  /// There was a message of this filter.
  void Learn(const TopicAndFilter& key, std::size_t octets);

  /// There was a message about all devices, whatever its filter.
  void LearnOfAllDevices(const std::string& topic, std::size_t octets);

  /// A message was asked for, and none came: nothing more can be learned, and it is taken for a small one.
  void NoteSilence(const TopicAndFilter& key);

  /// A connection gets one message of this topic, whatever its subscriptions.
  void NoteWithoutSids(const std::string& topic) { topics_[topic].has_sids = false; }
  bool HasSids(const std::string& topic) const;

  /// Octets of a message; 0: not known at all.
  std::size_t SizeOf(const TopicAndFilter& key) const;
  /// Whether there was a message of this very filter.
  bool IsMeasured(const TopicAndFilter& key) const;
  bool NamesDevice(const TopicAndFilter& key) const;

  /// Forgets the largest messages when none has come for one to two windows, but for the last one that there was.
  void BeginWindow();

  void ForgetUnused();

  /// Filters that are remembered, in use or not.
  std::size_t known_filters() const { return filters_.size(); }

 private:
  struct Topic {
    bool has_sids = true;
    std::size_t largest[2] = {0, 0};  // for filters that name a device, and for those that don't
    std::size_t former[2] = {0, 0};   // of the window before
  };

  struct Filter {
    bool names_device = false;
    std::size_t octets = 0;  // of the last message; 0: there was none
    std::size_t users = 0;   // subscriptions that have it
  };

  std::map<std::string, Topic> topics_;
  std::map<TopicAndFilter, Filter> filters_;
};

}  // namespace probe
