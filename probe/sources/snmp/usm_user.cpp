#include "probe/sources/snmp/usm_user.h"

#include "probe/sources/snmp/net_snmp.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <span>

namespace probe::snmp {

namespace {

using ProtocolId = std::span<oid>;
using Key = std::array<u_char, USM_LENGTH_KU_HASHBLOCK>;

constexpr std::size_t kMinPassphrase = 8;

ProtocolId IdOf(AuthProtocol protocol) {
  switch (protocol) {
    case AuthProtocol::kMd5:
      return usmHMACMD5AuthProtocol;
    case AuthProtocol::kSha:
      return usmHMACSHA1AuthProtocol;
    case AuthProtocol::kSha224:
      return usmHMAC128SHA224AuthProtocol;
    case AuthProtocol::kSha256:
      return usmHMAC192SHA256AuthProtocol;
    case AuthProtocol::kSha384:
      return usmHMAC256SHA384AuthProtocol;
    case AuthProtocol::kSha512:
      return usmHMAC384SHA512AuthProtocol;
    case AuthProtocol::kNone:
      break;
  }
  return usmNoAuthProtocol;
}

ProtocolId IdOf(PrivacyProtocol protocol) {
  switch (protocol) {
    case PrivacyProtocol::kDes:
      return usmDESPrivProtocol;
    case PrivacyProtocol::kAes:
      return usmAESPrivProtocol;
    case PrivacyProtocol::kNone:
      break;
  }
  return usmNoPrivProtocol;
}

u_char* CopyOf(const std::string& octets) {
  auto* const copy = static_cast<u_char*>(std::calloc(1, octets.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::copy(octets.begin(), octets.end(), copy);
  return copy;
}

void SetProtocol(ProtocolId id, oid*& protocol, std::size_t& length) {
  std::free(protocol);
  protocol = snmp_duplicate_objid(id.data(), id.size());
  length = id.size();
}

/// Makes the key of a passphrase for one engine. False when it cannot be made. Source: RFC 3414, appendix A.2.
bool MakeKey(ProtocolId auth, const std::string& passphrase, const std::string& engine_id, u_char*& key,
             std::size_t& length) {
  if (passphrase.size() < kMinPassphrase) return false;
  Key general{};
  std::size_t general_length = general.size();
  key = static_cast<u_char*>(std::calloc(1, general.size()));
  length = general.size();
  const auto id_length = static_cast<u_int>(auth.size());
  const bool is_made = key != nullptr &&
                       generate_Ku(auth.data(), id_length, reinterpret_cast<const u_char*>(passphrase.data()),
                                   passphrase.size(), general.data(), &general_length) == SNMPERR_SUCCESS &&
                       generate_kul(auth.data(), id_length, reinterpret_cast<const u_char*>(engine_id.data()),
                                    engine_id.size(), general.data(), general_length, key, &length) == SNMPERR_SUCCESS;
  explicit_bzero(general.data(), general.size());
  return is_made;
}

}  // namespace

std::unique_ptr<UsmUser> UsmUser::Make(const DeviceSettings& settings, const std::string& engine_id) {
  usmUser* const user = usm_create_user();
  if (user == nullptr) throw std::bad_alloc();
  std::unique_ptr<UsmUser> made(new UsmUser(user));
  user->name = reinterpret_cast<char*>(CopyOf(settings.user));
  user->secName = reinterpret_cast<char*>(CopyOf(settings.user));
  user->engineID = CopyOf(engine_id);
  user->engineIDLen = engine_id.size();
  if (settings.auth == AuthProtocol::kNone) return made;
  const ProtocolId auth = IdOf(settings.auth);
  SetProtocol(auth, user->authProtocol, user->authProtocolLen);
  if (!MakeKey(auth, settings.auth_key, engine_id, user->authKey, user->authKeyLen)) return nullptr;
  if (settings.privacy == PrivacyProtocol::kNone) return made;
  SetProtocol(IdOf(settings.privacy), user->privProtocol, user->privProtocolLen);
  // The privacy key, too, is made with the hash of the authentication.
  if (!MakeKey(auth, settings.privacy_key, engine_id, user->privKey, user->privKeyLen)) return nullptr;
  return made;
}

UsmUser::~UsmUser() {
  usm_free_user(user_);
}

KnownUser::KnownUser(const std::unique_ptr<UsmUser>& user) : user_(user == nullptr ? nullptr : user->user_) {
  if (user_ != nullptr) usm_add_user(user_);
}

KnownUser::~KnownUser() {
  if (user_ != nullptr) usm_remove_user(user_);
}

}  // namespace probe::snmp
