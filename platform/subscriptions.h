#pragma once

#include <json-c/json.h>

#include <map>
#include <memory>
#include <string>

/// The handle of one websocket connection. Opaque to the plug-in, which compares it and hands it back, and never
/// dereferences it.
///
/// A host must not give a handle to a new connection while a message for the old one may still be on its way; the
/// safest handle is one that is never used twice.
struct lws;

/// What one subscription asks for. Opaque to the host, which only keeps it for as long as the subscription lasts.
///
/// Owner: shared between host and plug-in. Its code lives in the plug-in: the host releases every filter before it
/// unloads the library.
class Filter;

namespace subscribes {

/// SID (the subscription's name, chosen by the client) -> filter: what one subscription request asks for.
using ParsedRequest = std::map<std::string, std::shared_ptr<Filter>>;

/// SID -> (connection -> that connection's filter): all subscriptions of one topic.
using SubscriptionList = std::map<std::string, std::map<lws*, std::shared_ptr<Filter>>>;

/// What feeds a topic: a monitor. The plug-in derives from it, and the host calls the plug-in through it.
///
/// Owner:   shared between the plug-in and the subscription service.
/// Threads: any; each operation says more.
class Subscriber {
 public:
  Subscriber() = default;
  /// Runs in the plug-in's code and may call the host, on the thread that releases the last reference.
  virtual ~Subscriber() = default;
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  /// Turns a subscription request into filters, one for each SID in it.
  ///
  /// `request` is the JSON array of a subscription, whose elements look like `{"sid": SID, "filter": {...}}`.
  ///
  /// Owner:   `request` stays the caller's. It may be null. Filters are shared with the caller.
  /// Threads: any, several at once.
  /// Fails:   an empty map for a request that is null or no array; never throws.
  virtual ParsedRequest FilterParser(json_object* request) = 0;

  /// Sends the present state to the subscribers, through `GetSalSendByCon`.
  ///
  /// The plug-in calls it once a pass. A host may call it too, to give a new subscriber its first message at once. Most
  /// monitors send to each connection in the list; the client-count monitor, which feeds two topics, ignores the list
  /// and sends to all subscribers of both.
  ///
  /// Owner:   `subscriptions` stays the caller's.
  /// Threads: any. The caller must hold no lock that a platform call takes: this operation asks for devices,
  ///          credentials and subscriptions, sends and logs.
  /// Fails:   sends nothing when no send function is installed; never throws.
  virtual void PushDataBySID(const SubscriptionList& subscriptions) = 0;
};

/// The register of topics and subscriptions. The plug-in calls the host. One for the process; the host derives from it.
class SubscribesManager {
 public:
  virtual ~SubscribesManager() = default;

  /// The one subscription service. The host defines this function.
  ///
  /// Owner:   the host; it outlives the plug-in.
  /// Threads: any. Fails: never throws.
  static SubscribesManager& GetInstance();

  /// Makes `subscriber` the one that feeds `topic`. One subscriber may feed several topics.
  ///
  /// Owner:   shared. The host releases it after `stop_monitor`, before it unloads the library.
  /// Threads: called on the thread that calls `RegisterMonitors`. Must not call back into the plug-in.
  /// Fails:   a topic that is fed already may keep its subscriber or change to the new one; the plug-in adds each once.
  virtual void AddSubscriber(const std::string& topic, std::shared_ptr<Subscriber> subscriber) = 0;

  /// All subscriptions of a topic at this moment, as a copy.
  ///
  /// Owner:   the map is the caller's; the filters in it are shared.
  /// Threads: any. Must not call back into the plug-in, nor wait for a thread that may be inside it.
  /// Fails:   an empty map when there are none, and for an unknown topic; never throws.
  virtual SubscriptionList GetSubscribeList(const std::string& topic) = 0;
};

}  // namespace subscribes
