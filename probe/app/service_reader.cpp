#include "probe/app/service_reader.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/fsuid.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace probe {
namespace {

// Of Linux's user "nobody", who owns no file.
constexpr uid_t kNobody = 65534;

/// Looks at files as somebody who owns none, for as long as it lives.
class AsNobody {
 public:
  AsNobody() : groups_(static_cast<std::size_t>(getgroups(0, nullptr))) {
    if (getgroups(static_cast<int>(groups_.size()), groups_.data()) < 0 || setgroups(0, nullptr) != 0) return;
    has_left_groups_ = true;
    group_ = static_cast<gid_t>(setfsgid(kNobody));
    user_ = static_cast<uid_t>(setfsuid(kNobody));
    // Neither call tells whether it failed; another one tells who it is now.
    is_in_force_ = static_cast<uid_t>(setfsuid(static_cast<uid_t>(-1))) == kNobody &&
                   static_cast<gid_t>(setfsgid(static_cast<gid_t>(-1))) == kNobody;
  }
  ~AsNobody() {
    if (!has_left_groups_) return;
    setfsuid(user_);
    setfsgid(group_);
    static_cast<void>(setgroups(groups_.size(), groups_.data()));
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;

  bool is_in_force() const { return is_in_force_; }

 private:
  std::vector<gid_t> groups_;
  uid_t user_ = 0;
  gid_t group_ = 0;
  bool has_left_groups_ = false;
  bool is_in_force_ = false;
};

}  // namespace

bool CanServiceRead(const std::string& path) {
  if (geteuid() != 0) return true;
  const AsNobody nobody;
  if (!nobody.is_in_force()) return true;
  // A pipe is not to be waited for.
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return errno != EACCES;
  close(file);
  return true;
}

}  // namespace probe
