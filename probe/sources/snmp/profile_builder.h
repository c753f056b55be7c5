#pragma once

#include <string_view>
#include <vector>

#include "probe/sources/snmp/profile.h"
#include "probe/sources/snmp/profile_entry.h"

namespace probe::snmp {

/// Builds a profile out of its own document, the last, and those that it extends, the first of which extends none.
///
/// What a document says of a role or of a figure of the device takes the place of what those before say of it; objects
/// and columns are taken over one by one. "title" and "match" are the last document's alone.
///
/// Fails: what is wrong goes to the errors of the entries; the profile is then not fit for use.
Profile BuildProfile(const std::vector<ProfileEntry>& documents);

}  // namespace probe::snmp
