#include "probe/uplink/spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace probe::uplink {
namespace {

// Each change waits for the disk: some times in a pass.
constexpr char kSchema[] = R"(
  PRAGMA journal_mode = WAL;
  PRAGMA synchronous = FULL;
  PRAGMA journal_size_limit = 4194304;
  CREATE TABLE IF NOT EXISTS waiting (
    number INTEGER PRIMARY KEY AUTOINCREMENT,
    topic TEXT NOT NULL,
    id TEXT NOT NULL,
    at INTEGER NOT NULL,
    text BLOB NOT NULL);
)";

/// Has the file there before the database is opened, for its owner's eyes only: its companions take its mode over.
void Create(const std::string& file) {
  constexpr mode_t kOwnerOnly = 0600;
  const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly);
  if (descriptor < 0)
    throw SpoolError("cannot open " + file + ": " + std::strerror(errno));  // NOLINT(concurrency-mt-unsafe)
  close(descriptor);
}

void Bind(sqlite3_stmt* statement, int at, const std::string& text) {
  // The text outlives the statement's steps.
  sqlite3_bind_blob64(statement, at, text.data(), text.size(), SQLITE_STATIC);
}

std::string Column(sqlite3_stmt* statement, int at) {
  const auto* octets = static_cast<const char*>(sqlite3_column_blob(statement, at));
  return {octets, octets + sqlite3_column_bytes(statement, at)};
}

}  // namespace

Spool::Spool(const std::string& file, SpoolBounds bounds) : bounds_(bounds) {
  Create(file);
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, nullptr);
  database_.reset(opened);
  if (result != SQLITE_OK) Fail("open");
  Execute(kSchema);
  Count();
}

void Spool::Fail(const char* doing) const {
  const std::string why = std::string("cannot ") + doing + " the spool: " + sqlite3_errmsg(database_.get());
  const int code = sqlite3_errcode(database_.get());
  if (code == SQLITE_NOTADB || code == SQLITE_CORRUPT) throw BrokenSpool(why);
  throw SpoolError(why);
}

SqliteStatement Spool::Prepare(const char* sql) const {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr) != SQLITE_OK) Fail("use");
  return SqliteStatement(statement);
}

void Spool::Execute(const char* sql) const {
  if (sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail("write");
}

void Spool::Insert(const SpooledMessage& message) {
  const SqliteStatement statement = Prepare("INSERT INTO waiting (topic, id, at, text) VALUES (?, ?, ?, ?)");
  Bind(statement.get(), 1, message.topic);
  Bind(statement.get(), 2, message.id);
  sqlite3_bind_int64(statement.get(), 3, message.at);
  Bind(statement.get(), 4, message.text);
  if (sqlite3_step(statement.get()) != SQLITE_DONE) Fail("write");
  waiting_.Add(message.text.size());
}

void Spool::InOneStep(const std::function<void()>& change) {
  const Waiting before = waiting_;
  Execute("BEGIN IMMEDIATE");
  try {
    change();
    Execute("COMMIT");
  } catch (...) {
    sqlite3_exec(database_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    waiting_ = before;
    throw;
  }
}

std::map<std::string, CutMessages> Spool::Append(const std::vector<SpooledMessage>& messages, time_t now) {
  std::map<std::string, CutMessages> cut;
  InOneStep([&] {
    for (const SpooledMessage& message : messages) Insert(message);
    cut = CutOff(now);
  });
  return cut;
}

std::map<std::string, CutMessages> Spool::CutOff(time_t now) {
  std::map<std::string, CutMessages> cut;
  const SqliteStatement oldest = Prepare("SELECT number, topic, at, length(text) FROM waiting ORDER BY number");
  std::int64_t last = 0;
  int step = 0;
  while ((step = sqlite3_step(oldest.get())) == SQLITE_ROW) {
    const auto at = static_cast<time_t>(sqlite3_column_int64(oldest.get(), 2));
    if (waiting_.bytes <= bounds_.bytes && now - at <= bounds_.age.count()) break;
    last = sqlite3_column_int64(oldest.get(), 0);
    waiting_.Take(static_cast<std::uint64_t>(sqlite3_column_int64(oldest.get(), 3)));
    CutMessages& of_topic = cut[Column(oldest.get(), 1)];
    if (of_topic.count++ == 0) of_topic.first = at;
    of_topic.last = at;
  }
  if (step != SQLITE_ROW && step != SQLITE_DONE) Fail("read");
  if (cut.empty()) return cut;
  const SqliteStatement statement = Prepare("DELETE FROM waiting WHERE number <= ?");
  sqlite3_bind_int64(statement.get(), 1, last);
  if (sqlite3_step(statement.get()) != SQLITE_DONE) Fail("write");
  return cut;
}

std::vector<SpooledMessage> Spool::After(std::int64_t after, std::size_t count, std::size_t bytes) const {
  const SqliteStatement statement =
      Prepare("SELECT number, topic, id, at, text FROM waiting WHERE number > ? ORDER BY number LIMIT ?");
  sqlite3_bind_int64(statement.get(), 1, after);
  sqlite3_bind_int64(statement.get(), 2, static_cast<std::int64_t>(count));
  std::vector<SpooledMessage> found;
  std::size_t octets = 0;
  int step = 0;
  while ((step = sqlite3_step(statement.get())) == SQLITE_ROW) {
    octets += static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), 4));
    if (octets > bytes && !found.empty()) return found;
    found.push_back({sqlite3_column_int64(statement.get(), 0), Column(statement.get(), 1), Column(statement.get(), 2),
                     static_cast<time_t>(sqlite3_column_int64(statement.get(), 3)), Column(statement.get(), 4)});
  }
  if (step != SQLITE_DONE) Fail("read");
  return found;
}

void Spool::Remove(const std::vector<std::int64_t>& numbers) {
  InOneStep([&] {
    for (const std::int64_t number : numbers) RemoveOne(number);
  });
}

void Spool::RemoveOne(std::int64_t number) {
  const SqliteStatement statement = Prepare("DELETE FROM waiting WHERE number = ? RETURNING length(text)");
  sqlite3_bind_int64(statement.get(), 1, number);
  int step = sqlite3_step(statement.get());
  if (step == SQLITE_ROW) {
    const auto bytes = static_cast<std::uint64_t>(sqlite3_column_int64(statement.get(), 0));
    step = sqlite3_step(statement.get());
    if (step == SQLITE_DONE) waiting_.Take(bytes);
  }
  if (step != SQLITE_DONE) Fail("write");
}

void Spool::Count() {
  const SqliteStatement statement = Prepare("SELECT count(*), coalesce(sum(length(text)), 0) FROM waiting");
  if (sqlite3_step(statement.get()) != SQLITE_ROW) Fail("read");
  waiting_.messages = static_cast<std::uint64_t>(sqlite3_column_int64(statement.get(), 0));
  waiting_.bytes = static_cast<std::uint64_t>(sqlite3_column_int64(statement.get(), 1));
}

}  // namespace probe::uplink
