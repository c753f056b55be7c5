#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/subscriptions.h"
#include "probe/server/http/access_rules.h"
#include "probe/server/http/http_workers.h"

namespace probe {

/// Carries plain HTTP requests from the sockets to the workers, and the answers back.
///
/// Threads: the server thread only.
class HttpDesk {
 public:
  /// `wake`: has the server thread call `OnDone`; callable from any thread.
  HttpDesk(HttpService service, std::function<void()> wake, std::chrono::seconds stuck_after);

  Door DoorOf(const std::string& path) const;

  /// Begins to answer a request that the access rules let pass. `origin`: as in `AccessRules::AllowedOrigin`.
  ///
  /// Fails: false when too many requests wait; nothing is begun then.
  bool Begin(lws* socket, const RequestHead& head, std::string origin);

  /// The library has done its part of a request that was begun: from now on its time is ours.
  void Await(lws* socket);

  /// Workers have answers.
  void OnDone();

  /// The socket of a request can take data. False: close it.
  bool OnWritable(lws* socket);

  /// The request of this socket, if there is one, is over.
  void Forget(lws* socket);

 private:
  /// A request on its way. Only one at a time comes in over a connection.
  struct Exchange {
    HttpWorkers::Ticket ticket = 0;
    bool is_head = false;
    std::string if_none_match;
    std::string origin;
    std::optional<HttpAnswer> answer;  ///< Nothing: a worker is at it.
    bool is_head_written = false;
    std::size_t sent = 0;  ///< Octets of the body that the library has taken.
  };

  bool WriteHead(lws* socket, Exchange& exchange);
  bool WriteBody(lws* socket, Exchange& exchange);
  bool Finish(lws* socket);
  void AllowTime(lws* socket) const;

  const int seconds_to_move_;
  std::vector<unsigned char> fragment_;
  HttpWorkers::Ticket last_ticket_ = 0;
  std::map<lws*, Exchange> exchanges_;
  std::map<HttpWorkers::Ticket, lws*> sockets_;  // of those that a worker is at
  HttpWorkers workers_;                          // last: it is gone before what its answers would need
};

}  // namespace probe
