#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device_records.h"
#include "probe/sources/snmp/oid.h"

namespace probe::snmp {

/// How one kind of device is read, as its profile file says: which objects and tables are asked for, and what they
/// mean. A profile is complete and consistent: what it extends is taken in, and every name in it is resolved.
/// docs/profiles.md explains the words.

/// A regular expression of a profile: ECMAScript's, but the longest of its alternatives counts, not the first, and it
/// cannot refer back to what a group matched. The time for a text grows with its length, whatever the text is.
class Pattern {
 public:
  /// Characters of a pattern. The library's parser calls itself for every bracket.
  static constexpr std::size_t kMaxLength = 200;
  /// Octets of a text that are looked at.
  static constexpr std::size_t kMaxText = 255;

  /// Fails: throws `std::regex_error`, also for a pattern that is too long or refers back.
  explicit Pattern(const std::string& text);

  /// Whether a part of `value` matches.
  bool Matches(std::string_view value) const;

  /// What the first group matched, or without a group the whole match; nothing when no part of `value` matches.
  std::optional<std::string> Take(std::string_view value) const;

  const std::string& text() const { return text_; }

 private:
  std::string text_;
  std::regex regex_;
};

/// What a raw value is taken as, before anything else.
enum class CellForm {
  kPlain,         ///< A number or free octets, as the agent types it.
  kMac,           ///< A MAC address: six octets, or text in a usual notation. Gives "02:fc:00:00:00:01".
  kUniversalMac,  ///< The same, but no address that was assigned locally.
  kEngineId,      ///< The MAC address in an engine's id. Source: RFC 3411, SnmpEngineID, format 3.
};

/// What is done with a raw value, in the order of the members.
struct Decoding {
  CellForm form = CellForm::kPlain;
  std::vector<std::string> invalid;             ///< Values that mean "none": texts, and numbers written out.
  std::optional<Pattern> pattern;               ///< What is taken of a text.
  int bits = 0;                                 ///< Only so many of the lowest bits of a number count; 0: all.
  bool is_signed = false;                       ///< Whether the highest of these bits is the sign.
  std::map<std::string, std::string> meanings;  ///< Value -> what it stands for. Others stay as they are.
  double scale = 1;
  double add = 0;
  double least = -std::numeric_limits<double>::infinity();    ///< A smaller number is no value.
  double greatest = std::numeric_limits<double>::infinity();  ///< A greater number is no value.

  /// Whether a counter stays what it is.
  bool KeepsCounters() const { return CountsOn() && scale == 1 && add == 0 && form == CellForm::kPlain; }

  /// Whether a number of the agent that grows gives one that grows, after as many steps back at its beginning.
  bool CountsOn() const { return bits == 0 && meanings.empty() && scale > 0 && !pattern; }
};

/// How a part of an index is written into the numbers of an object's name. Source: RFC 2578, section 7.7.
enum class IndexForm {
  kNumber,   ///< One number.
  kMac,      ///< Six numbers.
  kAddress,  ///< Four numbers.
  kText,     ///< A number that is the length, then as many octets.
  kRest,     ///< Octets up to the end.
};

/// A cell of another table.
struct Reference {
  std::size_t table = 0;
  std::size_t cell = 0;
};

/// A part of the index, or a column: every row has a cell for each.
struct CellRule {
  std::string name;
  IndexForm index_form = IndexForm::kNumber;  ///< Parts of the index only.
  Oid column;                                 ///< Columns only; empty for parts of the index.
  Decoding decoding;
  std::optional<Reference> refers_to;
  bool is_asked = false;  ///< Columns only: whether any figure needs it. Others are not asked for.
};

/// A single object.
struct Object {
  std::string name;
  Oid oid;
  Decoding decoding;
  bool is_asked = false;  ///< Whether anything needs it.
};

/// A cell of a row, or of a row that it leads to: `cells[0]` is a cell of the row. Where another follows, the value is
/// looked up in the table that the rule of the cell refers to, and the next one is a cell of the row found there.
struct CellPath {
  std::vector<std::size_t> cells;
};

/// Text with cells in it.
struct CellText {
  std::vector<std::variant<std::string, CellPath>> pieces;
};

/// Where a figure of a row is found: the first of these that has a value.
using CellChoice = std::vector<std::variant<CellPath, CellText>>;

/// A test of a row.
struct Condition {
  CellPath cell;
  std::vector<std::string> values;  ///< Values that fulfil it.
  std::optional<Pattern> pattern;   ///< A value of which a part matches fulfils it.
  bool is_wanted = true;            ///< Whether rows that fulfil it are kept, or those that do not.
};

/// One table of a device.
struct Table {
  std::string name;
  std::vector<CellRule> cells;        ///< The parts of the index, then the columns.
  std::size_t index_parts = 0;        ///< Number of the former.
  std::vector<Condition> conditions;  ///< Of its own cells. A row for which one does not hold is none of the table.
};

/// What the rows of a table are.
enum class Role { kInterface, kRadio, kSsid, kStation, kPortalUser, kNeighbour };
inline constexpr std::size_t kRoles = 6;

/// A table whose rows have a role.
struct RoleSource {
  std::size_t table = 0;
  std::map<std::string, CellChoice> figures;  ///< By their names in the profile: "name", "ssid", "clients".
  std::vector<Condition> conditions;          ///< All of them must hold.
  std::vector<std::size_t> needs;             ///< All tables that take part: `table`, and those that it leads to.
};

/// One figure of many rows.
enum class Summary { kFirst, kMean, kHighest, kLowest, kSum };

/// A figure of the device out of a table's column.
struct ColumnSummary {
  Summary summary = Summary::kFirst;
  std::size_t table = 0;
  CellPath cell;
  std::vector<Condition> conditions;  ///< Rows for which one of them does not hold are left out.
  std::vector<std::size_t> needs;     ///< All tables that take part.
};

/// A figure of the device, out of a single object.
struct ObjectValue {
  std::size_t object = 0;                  ///< In `Profile::objects`.
  std::optional<std::size_t> only_object;  ///< Only if this other object has one of these values.
  std::vector<std::string> only_values;
};

/// Where a figure of the device is found: the first of these that has a value.
using DeviceChoice = std::vector<std::variant<ObjectValue, ColumnSummary>>;

/// What says how many clients an SSID interface has.
enum class ClientTruth {
  kNothing,   ///< The device does not say.
  kSsid,      ///< The figure "clients" of the role ssid.
  kStations,  ///< The rows of the role station, each MAC address once.
};

/// For which devices a profile is.
struct MatchRule {
  std::vector<Oid> object_ids;         ///< Prefixes of sysObjectID; none: any.
  std::optional<Pattern> description;  ///< A part of sysDescr must match; none: any.
};

/// A profile.
struct Profile {
  std::string name;   ///< That of its file, without ".toml".
  std::string title;  ///< The devices that it is for, in words.
  std::string file;
  std::optional<MatchRule> match;  ///< None: taken for no device by itself.
  vexora_probe::models::controller::DeviceType type = vexora_probe::models::controller::DeviceType::kUnknown;
  std::vector<Object> objects;
  std::vector<Table> tables;
  std::map<std::string, DeviceChoice> device;         ///< "model", "version", "mac", "uptime", "cpu".
  std::array<std::vector<RoleSource>, kRoles> roles;  ///< By `Role`; rows come one source after the other.
  ClientTruth client_truth = ClientTruth::kNothing;

  const std::vector<RoleSource>& SourcesOf(Role role) const { return roles[static_cast<std::size_t>(role)]; }
};

/// All single objects that a device of this profile is asked for, the system group's among them, in ascending order.
std::vector<Oid> ObjectsOf(const Profile& profile);

/// The columns that a device of this profile is asked for, by table: one list for each of `Profile::tables`, empty for
/// a table that nothing needs, without columns that occur twice in the table.
std::vector<std::vector<Oid>> ColumnsOf(const Profile& profile);

}  // namespace probe::snmp
