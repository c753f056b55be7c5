#pragma once

#include <json-c/json.h>

#include <map>
#include <memory>
#include <string>

/// The handle of one websocket connection. Opaque to the plug-in, which only compares and returns it.
///
/// A host must not give a handle to a new connection while a message for the old one may still be under way; the
/// safest handle is one that is never used twice.
struct lws;

/// What one subscription asks for. Opaque to the host, which only keeps it for as long as the subscription lasts.
///
/// Its code lives in the plug-in: the host lets go of every filter before it unloads the library.
class Filter;

namespace subscribes {

/// SID -> filter: what one subscription request asks for.
using ParsedRequest = std::map<std::string, std::shared_ptr<Filter>>;

/// SID -> (connection -> that connection's filter): all subscriptions of one topic.
using SubscriptionList = std::map<std::string, std::map<lws*, std::shared_ptr<Filter>>>;

/// Somebody who feeds a topic. The host calls the plug-in through it.
class Subscriber {
 public:
  Subscriber() = default;
  virtual ~Subscriber() = default;
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  /// Turns a subscription request into filters, one for each SID in it.
  ///
  /// Owner:   `request` stays the caller's. It may be null. Filters are shared with the caller.
  /// Threads: any, several at once.
  /// Fails:   an empty map for a request that is null or no array; never throws.
  virtual ParsedRequest FilterParser(json_object* request) = 0;

  /// Sends the present state to the subscribers, through `GetSalSendByCon`.
  ///
  /// The plug-in calls it once a pass. A host may call it too, to give a new subscriber its first message at once. Most
  /// monitors send to each connection in the list; the client-count monitor, which feeds two topics, passes the list
  /// over and sends to all subscribers of both.
  ///
  /// Threads: any, without locks that a platform call takes: this one asks for devices, credentials and subscriptions,
  ///          sends and logs.
  /// Fails:   sends nothing when no send function is installed; never throws.
  virtual void PushDataBySID(const SubscriptionList& subscriptions) = 0;
};

/// The register of topics and subscriptions. The plug-in calls the host. One for the process.
class SubscribesManager {
 public:
  virtual ~SubscribesManager() = default;

  /// The one subscription service; it outlives the plug-in.
  static SubscribesManager& GetInstance();

  /// Makes `subscriber` the one who feeds `topic`. One subscriber may feed several topics.
  ///
  /// Owner:   shared. The host lets go of it after `stop_monitor`, before it unloads the library.
  /// Threads: called on the thread that calls `RegisterMonitors`.
  virtual void AddSubscriber(const std::string& topic, std::shared_ptr<Subscriber> subscriber) = 0;

  /// All subscriptions of a topic, as a copy of the moment. Empty when there are none.
  ///
  /// Threads: any; does not call back into the plug-in.
  virtual SubscriptionList GetSubscribeList(const std::string& topic) = 0;
};

}  // namespace subscribes
