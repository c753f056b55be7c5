#include "probe/centre/centre_settings.h"

#include <algorithm>

namespace probe::centre {

bool AccessGroup::Has(const std::string& site) const {
  return std::any_of(sites.begin(), sites.end(), [&](const std::string& one) {
    return one.ends_with('*') ? site.starts_with(one.substr(0, one.size() - 1)) : site == one;
  });
}

}  // namespace probe::centre
