#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <variant>
#include <vector>

#include "platform/device_records.h"
#include "probe/sources/snmp/oid.h"

namespace probe::snmp {

/// How one kind of device is read, as its profile file says: which objects and tables are asked for, and what they
/// mean. A profile is complete and consistent: what it extends is taken in, every name is resolved, and it holds no
/// object, table or column that nothing needs. docs/profiles.md explains the words.

/// What a raw value is taken as, before anything else.
enum class CellForm {
  kPlain,    ///< A number or free octets, as the agent types it.
  kMac,      ///< A MAC address: six octets, or text in a usual notation. Gives "02:fc:00:00:00:01".
  kAddress,  ///< An IPv4 address: four octets. Gives "192.0.2.1".
};

/// What is done with a raw value, in the order of the members.
struct Decoding {
  CellForm form = CellForm::kPlain;
  std::optional<std::regex> pattern;            ///< Takes what the first group matches; no match is no value.
  std::vector<std::string> invalid;             ///< Values that mean "none": texts, or numbers written out.
  std::map<std::string, std::string> meanings;  ///< Value -> what it stands for. Others stay as they are.
  int signed_bits = 0;                          ///< The number of bits of a signed number that came as unsigned.
  double scale = 1;
  double add = 0;
  double least = -std::numeric_limits<double>::infinity();    ///< A smaller number is no value.
  double greatest = std::numeric_limits<double>::infinity();  ///< A greater number is no value.
  bool is_number = false;                                     ///< A text is read as a number: "47", "2412 MHz".
};

/// A column of another table in which a value is looked up.
struct Reference {
  std::size_t table = 0;
  std::size_t cell = 0;
};

/// How a part of an index is written into the numbers of an object's name. Source: RFC 2578, section 7.7.
enum class IndexForm {
  kNumber,   ///< One number.
  kMac,      ///< Six numbers.
  kAddress,  ///< Four numbers.
  kText,     ///< A number that is the length, then as many octets.
  kRest,     ///< Octets up to the end.
};

/// A part of the index, or a column: every row has a cell for each.
struct CellRule {
  std::string name;
  IndexForm index_form = IndexForm::kNumber;  ///< Parts of the index only.
  Oid column;                                 ///< Columns only.
  Decoding decoding;
  std::optional<Reference> refers_to;
};

/// One table of a device: rows with an index and columns.
struct Table {
  std::string name;
  std::vector<CellRule> index;    ///< Cells 0, 1, and so on.
  std::vector<CellRule> columns;  ///< The cells behind those of the index.
};

/// A single object.
struct Object {
  std::string name;
  Oid oid;
  Decoding decoding;
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
  std::vector<std::string> values;    ///< Values that fulfil it.
  std::optional<std::regex> pattern;  ///< A part that matches fulfils it.
  bool wanted = true;                 ///< Whether rows that fulfil it are kept, or those that do not.
};

/// What the rows of a table are.
enum class Role { kInterface, kRadio, kSsid, kStation, kPortalUser, kNeighbour };

/// A table whose rows have a role. Several may have the same: their rows come one after the other, and rows of the same
/// name are one.
struct RoleSource {
  Role role = Role::kInterface;
  std::size_t table = 0;
  std::map<std::string, CellChoice> figures;  ///< By their names in the profile: "name", "ssid", "clients".
  std::vector<Condition> conditions;          ///< All of them must hold.
};

/// One figure of many rows.
enum class Summary { kFirst, kMean, kHighest, kLowest, kSum };

/// A figure of the device out of a table's column.
struct ColumnSummary {
  Summary summary = Summary::kFirst;
  std::size_t table = 0;
  CellPath cell;
};

/// A figure of the device, out of a single object: its number in `Profile::objects`.
struct ObjectValue {
  std::size_t object = 0;
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
  std::vector<Oid> object_ids;            ///< Prefixes of sysObjectID; none: any.
  std::optional<std::regex> description;  ///< A part of sysDescr must match; none: any.
  std::string description_text;           ///< The pattern as it was written.
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
  std::map<std::string, DeviceChoice> device;  ///< "model", "version", "mac", "uptime", "cpu".
  std::vector<RoleSource> roles;               ///< In the order of `Role`.
  ClientTruth clients = ClientTruth::kNothing;
};

/// All single objects that a device of this profile is asked for, the system group's among them.
std::vector<Oid> ObjectsOf(const Profile& profile);

/// The columns that a device of this profile is asked for, by table.
std::vector<std::vector<Oid>> ColumnsOf(const Profile& profile);

}  // namespace probe::snmp
