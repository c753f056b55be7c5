#pragma once

#include <ext/stdio_filebuf.h>

#include <ostream>
#include <string>

namespace probe::recording {

/// A file that is written from its beginning and that its owner alone may read.
///
/// Owner:   whoever makes it; it is closed when it goes.
/// Threads: one at a time.
class PrivateFile {
 public:
  /// Makes the file `path`. One that is there already is written over only where `may_overwrite` says so; a symbolic
  /// link is never followed.
  ///
  /// Fails: throws `std::runtime_error`, which says why.
  PrivateFile(const std::string& path, bool may_overwrite);

  std::ostream& stream() { return stream_; }

 private:
  __gnu_cxx::stdio_filebuf<char> buffer_;
  std::ostream stream_;
};

}  // namespace probe::recording
