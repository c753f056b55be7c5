#include "probe/sources/snmp/snmp_session.h"

#include "platform/utilities/locks.h"
#include "probe/sources/snmp/net_snmp.h"

#include <fcntl.h>
#include <linux/errqueue.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "probe/sources/snmp/net_snmp_values.h"
#include "probe/sources/snmp/snmp_library.h"
#include "probe/sources/snmp/wait.h"

namespace probe::snmp {

using utilities::lock::lock_guard;
using Clock = std::chrono::steady_clock;

namespace {

// Only after this time the library forgets a request to which nothing came; longer than any wait of ours.
constexpr long kLibraryTimeoutMicroseconds = 60'000'000;

long LibraryVersion(Version version) {
  switch (version) {
    case Version::k1:
      return SNMP_VERSION_1;
    case Version::k2c:
      return SNMP_VERSION_2c;
    case Version::k3:
      break;
  }
  return SNMP_VERSION_3;
}

int LibraryLevel(SecurityLevel level) {
  switch (level) {
    case SecurityLevel::kAuthPriv:
      return SNMP_SEC_LEVEL_AUTHPRIV;
    case SecurityLevel::kAuthNoPriv:
      return SNMP_SEC_LEVEL_AUTHNOPRIV;
    case SecurityLevel::kNoAuthNoPriv:
      break;
  }
  return SNMP_SEC_LEVEL_NOAUTH;
}

int LibraryCommand(RequestType type) {
  switch (type) {
    case RequestType::kGetNext:
      return SNMP_MSG_GETNEXT;
    case RequestType::kGetBulk:
      return SNMP_MSG_GETBULK;
    case RequestType::kGet:
      break;
  }
  return SNMP_MSG_GET;
}

netsnmp_pdu* PduOf(const Request& request) {
  netsnmp_pdu* const pdu = snmp_pdu_create(LibraryCommand(request.type));
  if (pdu == nullptr) return nullptr;
  if (request.type == RequestType::kGetBulk) {
    pdu->non_repeaters = 0;
    pdu->max_repetitions = request.repetitions;
  }
  for (const Oid& object : request.objects) {
    const std::vector<oid> numbers(object.begin(), object.end());
    snmp_add_null_var(pdu, numbers.data(), numbers.size());
  }
  return pdu;
}

/// Has word from the network (ICMP) reported to the socket, keeps the socket from child processes, and lets no read or
/// write wait: they are made with the library's lock held.
void SetUpSocket(int descriptor, bool is_ipv6) {
  fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
  // The socket is not connected, which would do the same, since some agents answer from another of their addresses.
  const int on = 1;
  if (is_ipv6) {
    setsockopt(descriptor, IPPROTO_IPV6, IPV6_RECVERR, &on, sizeof on);
  } else {
    setsockopt(descriptor, IPPROTO_IP, IP_RECVERR, &on, sizeof on);
  }
}

/// Empties the socket's queue of messages about what it sent.
void DropErrorQueue(int descriptor) {
  constexpr int kMaxMessages = 64;
  std::array<char, 512> control{};
  for (int i = 0; i < kMaxMessages; ++i) {
    msghdr message{};
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    if (recvmsg(descriptor, &message, MSG_ERRQUEUE | MSG_DONTWAIT) < 0) return;
  }
}

}  // namespace

SecurityLevel LevelOf(const DeviceSettings& settings) {
  if (settings.version != Version::k3 || settings.auth == AuthProtocol::kNone) return SecurityLevel::kNoAuthNoPriv;
  return settings.privacy == PrivacyProtocol::kNone ? SecurityLevel::kAuthNoPriv : SecurityLevel::kAuthPriv;
}

/// A request for which the library waits.
struct SnmpSession::Pending {
  SnmpSession* session = nullptr;
  std::uint64_t exchange = 0;
};

struct SnmpSession::Callback {
  /// As the library's `snmp_callback`. 1 has it forget the request.
  static int On(int operation, netsnmp_session* /*session*/, int /*request*/, netsnmp_pdu* pdu, void* data) {
    const auto* const pending = static_cast<const Pending*>(data);
    SnmpSession& session = *pending->session;
    switch (operation) {
      case NETSNMP_CALLBACK_OP_RESEND:
        // The library has learnt the engine's time from a report, and sends the request again with it.
        ++session.statistics_.pdus;
        return 1;
      case NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE:
        if (pending->exchange == session.exchange_ && !session.has_reply_) session.TakeReply(*pdu);
        break;
      case NETSNMP_CALLBACK_OP_SEC_ERROR:
        // A report, which comes as a message after this; or a failure to send, of which the sender hears.
        return 1;
      default:
        break;
    }
    session.Forget(pending);
    return 1;
  }
};

SnmpSession::SnmpSession(const DeviceSettings& settings, const std::string& peer, const StopEvent* stop)
    : stop_(stop), version_(settings.version) {
  std::string name = peer;
  std::string community = settings.community;
  const lock_guard held(SnmpLibrary::Instance().lock());
  netsnmp_session wanted;
  snmp_sess_init(&wanted);
  wanted.version = LibraryVersion(version_);
  wanted.peername = name.data();
  wanted.retries = 0;
  wanted.timeout = kLibraryTimeoutMicroseconds;
  if (version_ == Version::k3) {
    wanted.securityModel = SNMP_SEC_MODEL_USM;
  } else {
    wanted.community = reinterpret_cast<u_char*>(community.data());
    wanted.community_len = community.size();
  }
  handle_ = snmp_sess_open(&wanted);
  if (handle_ == nullptr) return;
  // Otherwise it would discover the engine with the first request, and wait for that.
  snmp_sess_session(handle_)->flags |= SNMP_FLAGS_DONT_PROBE;
  descriptor_ = snmp_sess_transport(handle_)->sock;
  SetUpSocket(descriptor_, peer.starts_with("udp6:"));
}

SnmpSession::~SnmpSession() {
  const lock_guard held(SnmpLibrary::Instance().lock());
  // The library keeps the highest time of every engine that it has ever heard of, for good. Forgotten with the session,
  // that does not grow, and a device whose boot counter was lost is heard again.
  if (!engine_id_.empty()) free_enginetime(reinterpret_cast<u_char*>(engine_id_.data()), engine_id_.size());
  if (handle_ != nullptr) snmp_sess_close(handle_);
}

Reply SnmpSession::Discover(const Patience& patience) {
  Reply reply = Exchange({}, SecurityLevel::kNoAuthNoPriv, true, patience);
  const lock_guard held(SnmpLibrary::Instance().lock());
  if (handle_ == nullptr) return reply;
  const netsnmp_session& session = *snmp_sess_session(handle_);
  engine_id_.assign(reinterpret_cast<const char*>(session.securityEngineID), session.securityEngineIDLen);
  return reply;
}

bool SnmpSession::UseUser(const DeviceSettings& settings) {
  // Without the lock: making a key of a passphrase hashes a megabyte.
  user_ = UsmUser::Make(settings, engine_id_);
  if (user_ == nullptr) return false;
  const lock_guard held(SnmpLibrary::Instance().lock());
  netsnmp_session& session = *snmp_sess_session(handle_);
  std::free(session.securityName);
  session.securityName = strdup(settings.user.c_str());
  session.securityNameLen = settings.user.size();
  return true;
}

Reply SnmpSession::Ask(const Request& request, SecurityLevel level, const Patience& patience) {
  return Exchange(request, level, false, patience);
}

Reply SnmpSession::Exchange(const Request& request, SecurityLevel level, bool is_discovery, const Patience& patience) {
  ++exchange_;
  has_reply_ = false;
  reply_ = Reply{};
  if (handle_ == nullptr) {
    reply_.kind = ReplyKind::kRefused;
    return std::move(reply_);
  }
  // Word from the network that came after the last wait is about an earlier request.
  TakeNetworkError();
  reply_ = Reply{};
  for (int attempt = 0; attempt < patience.attempts && Clock::now() < patience.deadline; ++attempt) {
    if (!Send(request, level, is_discovery)) break;
    if (AwaitReply(std::min(patience.deadline, Clock::now() + patience.timeout))) break;
  }
  if (has_reply_)
    ++statistics_.responses;
  else if (reply_.kind == ReplyKind::kNoReply || reply_.kind == ReplyKind::kUnreadable)
    ++statistics_.timeouts;
  return std::move(reply_);
}

bool SnmpSession::Send(const Request& request, SecurityLevel level, bool is_discovery) {
  const lock_guard held(SnmpLibrary::Instance().lock());
  // Has it forget requests whose time is long over.
  snmp_sess_timeout(handle_);
  netsnmp_pdu* const pdu = PduOf(request);
  if (pdu == nullptr) throw std::bad_alloc();
  pdu->version = LibraryVersion(version_);
  if (version_ == Version::k3) {
    pdu->securityModel = SNMP_SEC_MODEL_USM;
    pdu->securityLevel = LibraryLevel(level);
    if (is_discovery) pdu->securityName = strdup("");
  }
  pending_.push_back({.session = this, .exchange = exchange_});
  Pending* const pending = &pending_.back();
  const KnownUser known(user_);
  if (snmp_sess_async_send(handle_, pdu, &Callback::On, pending) != 0) {
    ++statistics_.pdus;
    return true;
  }
  const netsnmp_session& session = *snmp_sess_session(handle_);
  const bool is_system_error = session.s_snmp_errno == SNMPERR_BAD_SENDTO;
  reply_.kind = is_system_error ? ReplyKind::kSystemError : ReplyKind::kRefused;
  reply_.system_error = is_system_error ? session.s_errno : 0;
  snmp_free_pdu(pdu);
  Forget(pending);
  return false;
}

void SnmpSession::Forget(const Pending* request) {
  pending_.remove_if([request](const Pending& other) { return &other == request; });
}

bool SnmpSession::AwaitReply(Clock::time_point until) {
  while (!has_reply_) {
    switch (WaitForInput(descriptor_, until, stop_)) {
      case Wait::kError:
        if (TakeNetworkError()) return true;
        break;
      case Wait::kReady:
        Receive();
        break;
      case Wait::kTooLate:
        return false;
      case Wait::kStopped:
        reply_.kind = ReplyKind::kStopped;
        return true;
    }
    // Packets that are no reply may come without end.
    if (!has_reply_ && Clock::now() >= until) return false;
  }
  return true;
}

void SnmpSession::Receive() {
  const lock_guard held(SnmpLibrary::Instance().lock());
  const KnownUser known(user_);
  netsnmp_large_fd_set readable;
  netsnmp_large_fd_set_init(&readable, descriptor_ + 1);
  netsnmp_large_fd_setfd(descriptor_, &readable);
  const int result = snmp_sess_read2(handle_, &readable);
  netsnmp_large_fd_set_cleanup(&readable);
  const int error = snmp_sess_session(handle_)->s_snmp_errno;
  if (result != 0 && !has_reply_ && error != SNMPERR_BAD_RECVFROM) reply_.kind = ReplyKind::kUnreadable;
}

void SnmpSession::TakeReply(const netsnmp_pdu& pdu) {
  has_reply_ = true;
  reply_.kind = pdu.command == SNMP_MSG_REPORT ? ReplyKind::kReport : ReplyKind::kResponse;
  reply_.error_status = static_cast<int>(pdu.errstat);
  reply_.error_index = static_cast<int>(pdu.errindex);
  reply_.values = ValuesOf(pdu.variables);
}

bool SnmpSession::TakeNetworkError() {
  int error = 0;
  socklen_t length = sizeof error;
  getsockopt(descriptor_, SOL_SOCKET, SO_ERROR, &error, &length);
  DropErrorQueue(descriptor_);
  // A packet that has to go in pieces is not lost: the system sends it so from now on.
  if (error == 0 || error == EMSGSIZE) return false;
  reply_.kind = ReplyKind::kSystemError;
  reply_.system_error = error;
  return true;
}

}  // namespace probe::snmp
