#pragma once

#include <boost/system/error_code.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace probe {

/// A handler of the network library as a function, so that what starts reads and writes need be no template.
///
/// The library's handlers can only be moved, a function can be copied: copies share the one handler, and one of them
/// may be called, once.
template <typename Handler>
std::function<void(boost::system::error_code error, std::size_t octets)> SharedHandler(Handler&& handler) {
  auto shared = std::make_shared<std::decay_t<Handler>>(std::forward<Handler>(handler));
  return [shared](boost::system::error_code error, std::size_t octets) { std::move (*shared)(error, octets); };
}

}  // namespace probe
