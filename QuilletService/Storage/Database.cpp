// SPDX-License-Identifier: MIT
#include "QuilletService/Storage/Database.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

constexpr int kBusyTimeout = 2000;  // milliseconds

// Each entry lifts the schema by one version. Entries are never changed, only added.
constexpr std::array kMigrations = {
    R"sql(
CREATE TABLE devices(
  id TEXT PRIMARY KEY, signing_key BLOB NOT NULL, agreement_key BLOB NOT NULL, platform TEXT NOT NULL,
  name TEXT NOT NULL, app_version TEXT NOT NULL, registered_at INTEGER NOT NULL, last_seen_at INTEGER,
  revoked_at INTEGER) WITHOUT ROWID;
CREATE TABLE pairs(
  mac_id TEXT NOT NULL, phone_id TEXT NOT NULL, paired_at INTEGER NOT NULL,
  PRIMARY KEY(mac_id, phone_id)) WITHOUT ROWID;
CREATE INDEX pairs_by_phone ON pairs(phone_id);
CREATE TABLE pairing_sessions(
  id TEXT PRIMARY KEY, code TEXT NOT NULL, state TEXT NOT NULL, expires_at INTEGER NOT NULL,
  mac_id TEXT NOT NULL, mac_name TEXT NOT NULL, mac_key TEXT NOT NULL,
  phone_id TEXT, phone_name TEXT, phone_key TEXT, mac_sealed TEXT, phone_sealed TEXT) WITHOUT ROWID;
CREATE INDEX pairing_sessions_by_code ON pairing_sessions(code);
CREATE TABLE deliveries(
  number INTEGER PRIMARY KEY, mac_id TEXT NOT NULL, phone_id TEXT NOT NULL, utterance_id TEXT NOT NULL,
  envelope TEXT NOT NULL, state TEXT NOT NULL, sent INTEGER NOT NULL, updated_at INTEGER NOT NULL, result TEXT,
  UNIQUE(mac_id, phone_id, utterance_id));
CREATE INDEX pending_deliveries ON deliveries(mac_id) WHERE state IN ('queued', 'received');
CREATE INDEX deliveries_by_age ON deliveries(updated_at);
CREATE TABLE presence(
  mac_id TEXT NOT NULL, phone_id TEXT NOT NULL, envelope TEXT NOT NULL, at INTEGER NOT NULL,
  PRIMARY KEY(mac_id, phone_id)) WITHOUT ROWID;
CREATE TABLE feedback(number INTEGER PRIMARY KEY, device_id TEXT NOT NULL, at INTEGER NOT NULL, body TEXT NOT NULL);
)sql",
};

void check(int code) {
  if (code != SQLITE_OK) throw DatabaseError(code);
}

sqlite3* openConnection(const std::filesystem::path& path) {
  if (path != ":memory:") {
    if (path.has_parent_path() && !std::filesystem::exists(path.parent_path())) {
      std::filesystem::create_directories(path.parent_path());
      std::filesystem::permissions(path.parent_path(), std::filesystem::perms::owner_all);
    }
    // The library gives its side files the mode of the main file.
    File(path, O_RDWR | O_CREAT).close();
    AtomicFile::syncFolder(path.has_parent_path() ? path.parent_path() : ".");
  }
  sqlite3* connection = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &connection, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  if (code != SQLITE_OK) {
    sqlite3_close_v2(connection);
    throw DatabaseError(code);
  }
  return connection;
}

}  // namespace

DatabaseError::DatabaseError(int result) : std::runtime_error(sqlite3_errstr(result)), code(result) {}

Query::~Query() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

bool Query::next() {
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) throw DatabaseError(code);
  return false;
}

std::string Query::text(int column) const {
  return std::string(textOf(blob(column)));
}

ByteView Query::blob(int column) const {
  const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
  return {data, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::optional<std::string> Query::optionalText(int column) const {
  if (isNull(column)) return std::nullopt;
  return text(column);
}

std::optional<std::int64_t> Query::optionalInteger(int column) const {
  if (isNull(column)) return std::nullopt;
  return integer(column);
}

void Statement::bind(int index, std::string_view value) {
  // An empty view may hold a null pointer, which would be bound as NULL.
  const char* data = value.empty() ? "" : value.data();
  check(sqlite3_bind_text(statement_.get(), index, data, static_cast<int>(value.size()), SQLITE_STATIC));
}

void Statement::bind(int index, std::int64_t value) {
  check(sqlite3_bind_int64(statement_.get(), index, value));
}

void Statement::bind(int index, ByteView value) {
  check(sqlite3_bind_blob(statement_.get(), index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC));
}

void Statement::bindNull(int index) {
  check(sqlite3_bind_null(statement_.get(), index));
}

Database::Database(const std::filesystem::path& path) : connection_(openConnection(path), sqlite3_close_v2) {
  try {
    open();
  } catch (const DatabaseError& e) {
    const int kind = e.code & 0xFF;
    if (kind != SQLITE_CORRUPT && kind != SQLITE_NOTADB) throw;
    throw DatabaseUnusable("The database is damaged. Restore a backup, or move the file away to start anew.");
  }
}

void Database::open() {
  sqlite3_busy_timeout(connection_.get(), kBusyTimeout);
  execute("PRAGMA journal_mode=WAL");
  execute("PRAGMA synchronous=NORMAL");
  execute("PRAGMA secure_delete=ON");
  requireWhole();
  migrate();
}

void Database::requireWhole() {
  auto check = prepare("PRAGMA quick_check(1)");
  auto row = check.query();
  if (!row.next() || row.text(0) != "ok") throw DatabaseError(SQLITE_CORRUPT);
}

std::int64_t Database::number(std::string_view sql) {
  auto statement = prepare(sql);
  auto row = statement.query();
  return row.next() ? row.integer(0) : 0;
}

Statement Database::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  check(sqlite3_prepare_v3(connection_.get(), sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                           &statement, nullptr));
  return Statement(statement);
}

void Database::execute(const std::string& sql) {
  check(sqlite3_exec(connection_.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

bool WriteAheadLog::sync() const {
  // The library locks other files than this one, so closing it here lets none of its locks go.
  const File file(path_, O_RDWR);
  return file && ::fdatasync(file.descriptor()) == 0;
}

WriteAheadLog Database::log() const {
  const std::string_view file = sqlite3_db_filename(connection_.get(), "main");
  return WriteAheadLog(file.empty() ? std::filesystem::path() : std::filesystem::path(std::string(file) + "-wal"));
}

bool Database::makeDurable() {
  const int code = sqlite3_wal_checkpoint_v2(connection_.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  if (code != SQLITE_OK) Log::error("service", "A checkpoint failed with database code {}", code);
  return code == SQLITE_OK;
}

void Database::makeDurableAndForget() {
  if (!makeDurable()) return;
  sqlite3_busy_timeout(connection_.get(), 0);
  sqlite3_wal_checkpoint_v2(connection_.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  sqlite3_busy_timeout(connection_.get(), kBusyTimeout);
}

void Database::rewriteVersion() {
  execute("PRAGMA user_version=" + std::to_string(kMigrations.size()));
}

void Database::migrate() {
  const auto present = static_cast<std::size_t>(number("PRAGMA user_version"));
  if (present > kMigrations.size()) {
    throw DatabaseUnusable("The database was written by a newer version of this program.");
  }
  if (present == 0 && number("SELECT count(*) FROM sqlite_master") > 0) {
    throw DatabaseUnusable("The file is another program's database.");
  }
  for (std::size_t next = present; next < kMigrations.size(); ++next) {
    Transaction transaction(*this);
    execute(kMigrations[next]);
    execute("PRAGMA user_version=" + std::to_string(next + 1));
    transaction.commit();
  }
}

Transaction::~Transaction() {
  if (done_ || !database_.inTransaction()) return;  // some failures roll back by themselves
  try {
    database_.execute("ROLLBACK");
  } catch (const DatabaseError& e) {
    Log::error("service", "A roll-back failed with code {}", e.code);
  }
}

void Transaction::commit() {
  database_.execute("COMMIT");
  done_ = true;
}

}  // namespace quillet
