#include "probe/journal/snapshot_delta.h"

#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/device_records.h"

// Every record is described once, by the tuple of its members; comparing, writing and reading follow that description.
// What a tuple holds, in which order, and the values of a fresh record are the format: a change of any of them asks for
// another format version.

namespace probe::journal {
namespace {

namespace records = vexora_probe::models::controller;

constexpr auto MembersOf(const records::TrafficStats* /*of*/) {
  using Record = records::TrafficStats;
  return std::tuple(&Record::if_index, &Record::in_bytes, &Record::out_bytes);
}

constexpr auto MembersOf(const records::InterfaceState* /*of*/) {
  using Record = records::InterfaceState;
  return std::tuple(&Record::oper_status, &Record::traffic);
}

constexpr auto MembersOf(const records::AssocClientState* /*of*/) {
  using Record = records::AssocClientState;
  return std::tuple(&Record::mac, &Record::hostname, &Record::mode, &Record::data_rate, &Record::in_bytes,
                    &Record::out_bytes);
}

constexpr auto MembersOf(const records::SSIDIfState* /*of*/) {
  using Record = records::SSIDIfState;
  return std::tuple(&Record::ssid, &Record::radio, &Record::traffic, &Record::client_count, &Record::clients);
}

constexpr auto MembersOf(const records::RadioIfState* /*of*/) {
  return std::tuple(&records::RadioIfState::band);
}

constexpr auto MembersOf(const records::PortalUser* /*of*/) {
  using Record = records::PortalUser;
  return std::tuple(&Record::username, &Record::hostname, &Record::in_bytes, &Record::out_bytes);
}

constexpr auto MembersOf(const records::SSIDCfg* /*of*/) {
  using Record = records::SSIDCfg;
  return std::tuple(&Record::name, &Record::security_mode, &Record::guest);
}

constexpr auto MembersOf(const records::BasicInfo* /*of*/) {
  using Record = records::BasicInfo;
  return std::tuple(&Record::mac, &Record::hostname, &Record::ip, &Record::type);
}

constexpr auto MembersOf(const records::PlatformInfo* /*of*/) {
  return std::tuple(&records::PlatformInfo::model, &records::PlatformInfo::version);
}

constexpr auto MembersOf(const records::NeighboringAP* /*of*/) {
  using Record = records::NeighboringAP;
  return std::tuple(&Record::mac, &Record::ssid, &Record::trusted, &Record::band, &Record::channel, &Record::signal);
}

constexpr auto MembersOf(const vexora_probe::evcenter::Summary* /*of*/) {
  using Record = vexora_probe::evcenter::Summary;
  return std::tuple(&Record::info, &Record::warning, &Record::alert);
}

constexpr auto MembersOf(const DeviceSnapshot* /*of*/) {
  using Record = DeviceSnapshot;
  return std::tuple(&Record::online, &Record::known, &Record::driver, &Record::is_wireless, &Record::basic_info,
                    &Record::platform_info, &Record::sample_time, &Record::interfaces, &Record::polling_time,
                    &Record::ssid_interfaces, &Record::radios, &Record::portal_users, &Record::neighbours, &Record::cpu,
                    &Record::uptime, &Record::health_level, &Record::notifications, &Record::credential_json,
                    &Record::ssid_config);
}

template <typename Value>
concept Number = std::is_integral_v<Value> || std::is_enum_v<Value>;

/// A record, or nothing: `std::optional` and shared pointers to records that never change.
template <typename Value>
struct PossibleRecord : std::false_type {};
template <typename Record>
struct PossibleRecord<std::optional<Record>> : std::true_type {
  using Content = Record;
  static std::optional<Record> Made(Record record) { return record; }
};
template <typename Record>
struct PossibleRecord<std::shared_ptr<const Record>> : std::true_type {
  using Content = Record;
  static std::shared_ptr<const Record> Made(Record record) { return std::make_shared<const Record>(std::move(record)); }
};
template <typename Value>
concept Possible = PossibleRecord<Value>::value;

template <typename Value>
concept Record = requires(const Value* record) {
  MembersOf(record);
};

/// The parts of an element of a map or a list: by what it is found again, and what of it changes.
template <typename Value>
struct Elements : std::false_type {};
template <typename Value>
struct Elements<std::map<std::string, Value>> : std::true_type {
  using Content = Value;
  static const std::string& KeyOf(const std::pair<const std::string, Value>& element) { return element.first; }
  static const Value& ContentOf(const std::pair<const std::string, Value>& element) { return element.second; }
  static Value& ContentOf(std::pair<const std::string, Value>& element) { return element.second; }
};
template <typename Value>
struct Elements<std::list<Value>> : std::true_type {
  using Content = Value;
  static const std::string& KeyOf(const Value& element) { return element.mac; }
  static const Value& ContentOf(const Value& element) { return element; }
  static Value& ContentOf(Value& element) { return element; }
};
template <typename Value>
concept Container = Elements<Value>::value;

// Declared before any is defined: records hold containers, which hold records.
template <Number Value>
bool Same(Value left, Value right) {
  return left == right;
}
bool Same(const std::string& left, const std::string& right) {
  return left == right;
}
template <Possible Value>
bool Same(const Value& left, const Value& right);
template <Container Value>
bool Same(const Value& left, const Value& right);
template <Record Value>
bool Same(const Value& left, const Value& right);

template <Number Value>
void Write(Value before, Value now, OctetWriter& out);
void Write(const std::string& before, const std::string& now, OctetWriter& out);
template <Possible Value>
void Write(const Value& before, const Value& now, OctetWriter& out);
template <Container Value>
void Write(const Value& before, const Value& now, OctetWriter& out);
template <Record Value>
void Write(const Value& before, const Value& now, OctetWriter& out);

template <Number Value>
void Apply(OctetReader& in, Value& value);
void Apply(OctetReader& in, std::string& value);
template <Possible Value>
void Apply(OctetReader& in, Value& value);
template <Container Value>
void Apply(OctetReader& in, Value& value);
template <Record Value>
void Apply(OctetReader& in, Value& value);

// Numbers: the difference. It wraps around, so that any two numbers of 64 bits have one.

template <Number Value>
void Write(Value before, Value now, OctetWriter& out) {
  out.Signed(static_cast<std::int64_t>(static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(before)));
}

template <Number Value>
void Apply(OctetReader& in, Value& value) {
  const std::uint64_t sum = static_cast<std::uint64_t>(value) + static_cast<std::uint64_t>(in.Signed());
  if constexpr (std::is_same_v<Value, bool>) {
    value = sum != 0;
  } else {
    value = static_cast<Value>(sum);
  }
}

// Texts: the new one.

void Write(const std::string& /*before*/, const std::string& now, OctetWriter& out) {
  out.Text(now);
}

void Apply(OctetReader& in, std::string& value) {
  value = in.Text();
}

// Possible records: whether there is one now, and its delta against the one before or a fresh one.

template <Possible Value>
bool Same(const Value& left, const Value& right) {
  if (!left || !right) return !left && !right;
  if constexpr (std::is_same_v<Value, std::shared_ptr<const typename PossibleRecord<Value>::Content>>) {
    if (left == right) return true;
  }
  return Same(*left, *right);
}

template <Possible Value>
void Write(const Value& before, const Value& now, OctetWriter& out) {
  out.Unsigned(now ? 1 : 0);
  if (!now) return;
  const typename PossibleRecord<Value>::Content fresh{};
  Write(before ? *before : fresh, *now, out);
}

template <Possible Value>
void Apply(OctetReader& in, Value& value) {
  using Content = typename PossibleRecord<Value>::Content;
  if (in.Unsigned() == 0) {
    value = Value();
    return;
  }
  Content content = value ? *value : Content{};
  Apply(in, content);
  value = PossibleRecord<Value>::Made(std::move(content));
}

// Containers: a walk along the old elements, as steps of which each passes over some unchanged ones and then changes,
// removes or inserts one. A step's number is four times those passed over, and what it does.

enum class Step : std::uint64_t { kEnd, kChange, kRemove, kInsert };
constexpr std::uint64_t kSteps = 4;

template <Container Value>
bool Same(const Value& left, const Value& right) {
  using Of = Elements<Value>;
  if (left.size() != right.size()) return false;
  auto other = right.begin();
  for (const auto& element : left) {
    if (Of::KeyOf(element) != Of::KeyOf(*other) || !Same(Of::ContentOf(element), Of::ContentOf(*other))) return false;
    ++other;
  }
  return true;
}

template <typename Value>
std::set<std::string> KeysOf(const Value& container) {
  std::set<std::string> keys;
  for (const auto& element : container) keys.insert(Elements<Value>::KeyOf(element));
  return keys;
}

/// Writes the steps that lead from one container to another. Which steps is a matter of size only: any that get there
/// are right.
template <Container Value>
class StepWriter {
 public:
  StepWriter(const Value& before, const Value& now, OctetWriter& out)
      : out_(out), before_(before), now_(now), old_(before.begin()) {}

  void Write() {
    for (const auto& element : now_) {
      while (old_ != before_.end() && Of::KeyOf(*old_) != Of::KeyOf(element) && IsRemovedBefore(element)) {
        Do(Step::kRemove);
        ++old_;
      }
      if (old_ != before_.end() && Of::KeyOf(*old_) == Of::KeyOf(element)) {
        Keep(Of::ContentOf(element));
      } else {
        Insert(element);
      }
    }
    for (; old_ != before_.end(); ++old_) Do(Step::kRemove);
    Do(Step::kEnd);
  }

 private:
  using Of = Elements<Value>;

  /// Whether the old element goes before the new one comes: it is nowhere any more, or they stand in another order.
  bool IsRemovedBefore(const auto& element) {
    if (!old_keys_) {  // only where the two differ in their elements, which is seldom
      old_keys_ = KeysOf(before_);
      new_keys_ = KeysOf(now_);
    }
    return !new_keys_.contains(Of::KeyOf(*old_)) || old_keys_->contains(Of::KeyOf(element));
  }

  void Do(Step step) {
    out_.Unsigned(kept_ * kSteps + static_cast<std::uint64_t>(step));
    kept_ = 0;
  }

  void Keep(const typename Of::Content& now) {
    if (Same(Of::ContentOf(*old_), now)) {
      ++kept_;
    } else {
      Do(Step::kChange);
      journal::Write(Of::ContentOf(*old_), now, out_);
    }
    ++old_;
  }

  void Insert(const auto& element) {
    Do(Step::kInsert);
    if constexpr (std::is_same_v<Value, std::map<std::string, typename Of::Content>>) out_.Text(Of::KeyOf(element));
    const typename Of::Content fresh{};
    journal::Write(fresh, Of::ContentOf(element), out_);
  }

  OctetWriter& out_;
  const Value& before_;
  const Value& now_;
  typename Value::const_iterator old_;  // the first old element that is not dealt with
  std::uint64_t kept_ = 0;              // unchanged ones since the last step
  std::optional<std::set<std::string>> old_keys_;
  std::set<std::string> new_keys_;
};

template <Container Value>
void Write(const Value& before, const Value& now, OctetWriter& out) {
  StepWriter<Value>(before, now, out).Write();
}

template <typename Content>
void Insert(OctetReader& in, std::map<std::string, Content>& map,
            typename std::map<std::string, Content>::iterator place) {
  Apply(in, map.emplace_hint(place, std::string(in.Text()), Content{})->second);
}

template <typename Content>
void Insert(OctetReader& in, std::list<Content>& list, typename std::list<Content>::iterator place) {
  Apply(in, *list.emplace(place));
}

template <Container Value>
void Apply(OctetReader& in, Value& value) {
  auto place = value.begin();
  auto left = value.size();  // elements from `place` on that were there before
  while (true) {
    const std::uint64_t number = in.Unsigned();
    const std::uint64_t kept = number / kSteps;
    const auto step = static_cast<Step>(number % kSteps);
    const bool takes_one = step == Step::kChange || step == Step::kRemove;
    if (kept > left || (takes_one && kept == left)) throw MalformedJournal("a change of what is not there");
    left -= static_cast<std::size_t>(kept) + (takes_one ? 1 : 0);
    std::advance(place, kept);
    switch (step) {
      case Step::kEnd:
        return;
      case Step::kChange:
        Apply(in, Elements<Value>::ContentOf(*place++));
        break;
      case Step::kRemove:
        place = value.erase(place);
        break;
      case Step::kInsert:
        Insert(in, value, place);
        break;
    }
  }
}

// Records: a bit for each member that differs, the first member's the lowest, then the deltas of these.

template <Record Value>
bool Same(const Value& left, const Value& right) {
  return std::apply([&](auto... members) { return (Same(left.*members, right.*members) && ...); }, MembersOf(&left));
}

template <Record Value>
void Write(const Value& before, const Value& now, OctetWriter& out) {
  std::apply(
      [&](auto... members) {
        std::uint64_t bits = 0;
        std::uint64_t bit = 1;
        ((bits |= Same(before.*members, now.*members) ? 0 : bit, bit <<= 1), ...);
        out.Unsigned(bits);
        bit = 1;
        ((bits & bit ? Write(before.*members, now.*members, out) : void(), bit <<= 1), ...);
      },
      MembersOf(&now));
}

template <Record Value>
void Apply(OctetReader& in, Value& value) {
  std::apply(
      [&](auto... members) {
        const std::uint64_t bits = in.Unsigned();
        if (bits >> sizeof...(members) != 0) throw MalformedJournal("a member that this version does not know");
        std::uint64_t bit = 1;
        ((bits & bit ? Apply(in, value.*members) : void(), bit <<= 1), ...);
      },
      MembersOf(&value));
}

}  // namespace

bool AreSame(const DeviceSnapshot& left, const DeviceSnapshot& right) {
  return Same(left, right);
}

void WriteDelta(const DeviceSnapshot& before, const DeviceSnapshot& now, OctetWriter& out) {
  Write(before, now, out);
}

void ApplyDelta(OctetReader& in, DeviceSnapshot& snapshot) {
  Apply(in, snapshot);
}

}  // namespace probe::journal
