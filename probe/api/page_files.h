#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "probe/server/http/http_message.h"

namespace probe {

/// The files of the dashboard, read once and served from memory: no path of a request ever reaches the disk.
///
/// A file NAME.gz beside NAME is its compressed form, for clients that take it. Files below assets/ carry a hash of
/// their content in their name, so that a client may keep them.
/// Threads: any; nothing in it changes.
class PageFiles {
 public:
  static constexpr std::size_t kMaxFiles = 200;
  static constexpr std::size_t kMaxBytes = 8 * 1024 * 1024;

  /// Reads a folder. One that is not there has no files.
  ///
  /// Fails: throws `std::runtime_error` for a folder with more than `kMaxFiles` files or `kMaxBytes` octets.
  explicit PageFiles(const std::string& folder);

  bool is_empty() const { return files_.empty(); }
  bool Has(const std::string& path) const { return files_.contains(path); }

  /// The file at a path that it has; "/" is index.html.
  HttpAnswer Answer(const HttpRequest& request) const;

 private:
  struct File {
    std::string content_type;
    std::string etag;
    std::shared_ptr<const std::string> plain;
    std::shared_ptr<const std::string> gzip;  // null: there is none
  };

  std::map<std::string, File> files_;  // path, as in a URL
};

/// Where the dashboard that came with this executable lies: beside its folder, as in the install.
std::string DefaultPageFolder();

}  // namespace probe
