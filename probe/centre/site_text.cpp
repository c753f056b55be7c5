#include "probe/centre/site_text.h"

#include <algorithm>

namespace probe::centre {

time_t SiteText::told_at() const {
  tm utc{};
  const char* const end = strptime(id.c_str(), "%Y-%m-%dT%H:%M:%SZ", &utc);
  return end != nullptr && *end == '\0' ? std::min(timegm(&utc), stored_at()) : stored_at();
}

}  // namespace probe::centre
