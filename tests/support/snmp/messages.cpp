#include "tests/support/snmp/messages.h"

#include <algorithm>
#include <stdexcept>
#include <variant>

namespace test {
namespace {

using probe::snmp::Oid;
using probe::snmp::Value;
using probe::snmp::ValueType;
using probe::snmp::VarBind;

constexpr std::uint8_t kInteger = 0x02;
constexpr std::uint8_t kOctetString = 0x04;
constexpr std::uint8_t kObjectId = 0x06;
constexpr std::uint8_t kSequence = 0x30;
constexpr std::uint8_t kResponse = 0xa2;

/// Reads the elements of BER one after the other. Throws at the end of the octets.
class Reader {
 public:
  explicit Reader(std::string octets) : octets_(std::move(octets)) {}

  bool at_end() const { return at_ == octets_.size(); }

  std::uint8_t Octet() { return static_cast<std::uint8_t>(octets_.at(at_++)); }

  std::string Element(std::uint8_t& tag) {
    tag = Octet();
    std::size_t length = Octet();
    if (length > 0x80) {
      std::size_t octets = length - 0x80;
      for (length = 0; octets > 0; --octets) length = length << 8U | Octet();
    }
    if (length > octets_.size() - at_) throw std::out_of_range("cut off");
    at_ += length;
    return octets_.substr(at_ - length, length);
  }

  std::string Element() {
    std::uint8_t tag = 0;
    return Element(tag);
  }

  std::int64_t Integer() {
    const std::string content = Element();
    std::int64_t number = !content.empty() && (content[0] & 0x80) != 0 ? -1 : 0;
    for (const char octet : content) number = number * 256 + static_cast<std::uint8_t>(octet);
    return number;
  }

  Oid ObjectId() {
    Reader content(Element());
    const std::uint8_t first = content.Octet();
    Oid oid{first / 40U, first % 40U};
    while (!content.at_end()) {
      std::uint32_t number = 0;
      std::uint8_t octet = 0;
      do {
        octet = content.Octet();
        number = number << 7U | (octet & 0x7fU);
      } while ((octet & 0x80U) != 0);
      oid.push_back(number);
    }
    return oid;
  }

 private:
  std::string octets_;
  std::size_t at_ = 0;
};

std::string Element(std::uint8_t tag, const std::string& content) {
  std::string octets(1, static_cast<char>(tag));
  const std::size_t length = content.size();
  if (length >= 0x100) {
    octets += static_cast<char>(0x82);
    octets += static_cast<char>(length >> 8U);
  } else if (length >= 0x80) {
    octets += static_cast<char>(0x81);
  }
  octets += static_cast<char>(length & 0xffU);
  return octets + content;
}

/// The shortest form of a number: a positive one must not begin with a set bit.
std::string Number(std::uint8_t tag, std::uint64_t number, bool is_negative) {
  std::string content;
  do {
    content.insert(content.begin(), static_cast<char>(number & 0xffU));
    number >>= 8U;
  } while (number != 0 && content.size() < sizeof number);
  if (is_negative) {
    while (content.size() > 1 && content[0] == '\xff' && (content[1] & 0x80) != 0) content.erase(0, 1);
  } else if ((content[0] & 0x80) != 0) {
    content.insert(content.begin(), '\0');
  }
  return Element(tag, content);
}

std::string Integer(std::int64_t number) {
  return Number(kInteger, static_cast<std::uint64_t>(number), number < 0);
}

std::string ObjectId(const Oid& oid) {
  std::string content(1, static_cast<char>(oid.at(0) * 40 + oid.at(1)));
  for (std::size_t i = 2; i < oid.size(); ++i) {
    std::string part(1, static_cast<char>(oid[i] & 0x7fU));
    for (std::uint32_t rest = oid[i] >> 7U; rest != 0; rest >>= 7U) {
      part.insert(part.begin(), static_cast<char>((rest & 0x7fU) | 0x80U));
    }
    content += part;
  }
  return Element(kObjectId, content);
}

std::string Content(const Value& value) {
  const auto unsigned_number = [&] { return std::get<std::uint64_t>(value.content); };
  switch (value.type) {
    case ValueType::kInteger:
      return Integer(std::get<std::int64_t>(value.content));
    case ValueType::kOctets:
      return Element(kOctetString, std::get<std::string>(value.content));
    case ValueType::kObjectId:
      return ObjectId(std::get<Oid>(value.content));
    case ValueType::kIpAddress:
      return Element(0x40, std::get<std::string>(value.content));
    case ValueType::kCounter32:
      return Number(0x41, unsigned_number(), false);
    case ValueType::kGauge32:
      return Number(0x42, unsigned_number(), false);
    case ValueType::kTimeTicks:
      return Number(0x43, unsigned_number(), false);
    case ValueType::kCounter64:
      return Number(0x46, unsigned_number(), false);
    case ValueType::kNoSuchObject:
      return Element(0x80, "");
    case ValueType::kNoSuchInstance:
      return Element(0x81, "");
    case ValueType::kEndOfMib:
      return Element(0x82, "");
    case ValueType::kNull:
      break;
  }
  return Element(0x05, "");
}

SnmpRequest Read(const std::string& packet) {
  SnmpRequest request;
  Reader message(Reader(packet).Element());
  request.version = message.Integer();
  request.community = message.Element();
  Reader pdu(message.Element(request.type));
  request.id = pdu.Integer();
  pdu.Integer();
  request.max_repetitions = pdu.Integer();
  Reader list(pdu.Element());
  while (!list.at_end()) request.objects.push_back(Reader(list.Element()).ObjectId());
  return request;
}

}  // namespace

std::optional<SnmpRequest> ReadSnmpRequest(const std::string& packet) {
  try {
    SnmpRequest request = Read(packet);
    if (request.version > 1) return std::nullopt;
    return request;
  } catch (const std::out_of_range&) {
    return std::nullopt;
  }
}

std::string SnmpResponse(const SnmpRequest& request, const std::vector<VarBind>& values, std::int64_t error_status,
                         std::int64_t error_index) {
  std::string list;
  for (const VarBind& value : values) list += Element(kSequence, ObjectId(value.oid) + Content(value.value));
  const std::string pdu =
      Element(kResponse, Integer(request.id) + Integer(error_status) + Integer(error_index) + Element(kSequence, list));
  return Element(kSequence, Integer(request.version) + Element(kOctetString, request.community) + pdu);
}

std::string AnswerFrom(const std::map<Oid, Value>& objects, const SnmpRequest& request) {
  constexpr std::int64_t kNoSuchName = 2;
  const auto exception = [](ValueType type) { return Value{.type = type, .content = {}}; };
  std::vector<Oid> positions = request.objects;
  std::vector<VarBind> values;
  const std::int64_t repetitions = request.type == kGetBulkRequest ? request.max_repetitions : 1;
  for (std::int64_t i = 0; i < repetitions; ++i) {
    for (Oid& position : positions) {
      const bool is_get = request.type == kGetRequest;
      const auto found = is_get ? objects.find(position) : objects.upper_bound(position);
      if (found != objects.end()) {
        position = found->first;
        values.push_back({.oid = found->first, .value = found->second});
      } else if (request.version == 0) {
        return SnmpResponse(request, {}, kNoSuchName, static_cast<std::int64_t>(values.size()) + 1);
      } else {
        values.push_back({position, exception(is_get ? ValueType::kNoSuchObject : ValueType::kEndOfMib)});
      }
    }
  }
  return SnmpResponse(request, values);
}

}  // namespace test
