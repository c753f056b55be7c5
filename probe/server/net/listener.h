#pragma once

#include <libwebsockets.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "probe/server/net/server_settings.h"

namespace probe {

/// The library's context of one run of the server, which listens on every address.
///
/// Threads: made on any thread, then used and destroyed on the server thread; `Wake` is for every thread.
class ListeningContext {
 public:
  /// Listens from now on, though events come only out of `Serve`, apart from those of the context's own beginning and
  /// end. `on_event` gets every event; `owner` is what `lws_context_user` gives it.
  ///
  /// Fails: throws `std::runtime_error` with a text for an administrator when an address cannot be listened on or a TLS
  ///        file cannot be used.
  ListeningContext(const ServerSettings& settings, std::vector<std::string> addresses, std::uint16_t port,
                   lws_callback_function* on_event, void* owner);

  /// Closes what is still open.
  ~ListeningContext();
  ListeningContext(const ListeningContext&) = delete;
  ListeningContext& operator=(const ListeningContext&) = delete;

  /// Waits for events and handles them. False when the event loop has failed for good.
  bool Serve();

  /// Ends the wait of `Serve`, with an event that says so.
  void Wake();

  lws_context* get() const { return context_; }

 private:
  void Create(const ServerSettings& settings, void* owner);
  void Listen(const ServerSettings& settings, const std::string& address, std::uint16_t port);

  // The library keeps pointers into all of these.
  const std::vector<std::string> addresses_;
  const std::array<lws_protocols, 2> protocols_;
  const lws_retry_bo_t idle_policy_;

  lws_context* context_ = nullptr;
};

}  // namespace probe
