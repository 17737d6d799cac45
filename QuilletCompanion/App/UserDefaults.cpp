// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/UserDefaults.h"

#include <fcntl.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <chrono>
#include <thread>

#include "QuilletCompanion/Relay/StoredFile.h"
#include "QuilletKit/Async/Clock.h"
#include "QuilletKit/Base/AtomicFile.h"
#include "QuilletKit/Base/File.h"
#include "QuilletKit/Base/Log.h"

namespace quillet {
namespace {

bool isKeyArgument(std::string_view argument) {
  return argument.size() > 1 && argument[0] == '-' && std::isalpha(static_cast<unsigned char>(argument[1])) != 0;
}

/// Keeps other processes off the settings for as long as it lives. A lock that isn't to be had in time, or at all, is
/// done without: the file is replaced as a whole in any case.
File lockedFolder(const std::filesystem::path& path) {
  constexpr int kAttempts = 100;
  constexpr auto kPause = std::chrono::milliseconds(5);
  File folder(path, O_RDONLY | O_DIRECTORY);
  for (int i = 0; i < kAttempts && folder.tryLock() == File::Lock::elsewhere; ++i) std::this_thread::sleep_for(kPause);
  return folder;
}

std::optional<boost::json::object> parsed(const std::string& text) {
  if (text.empty()) return boost::json::object();
  boost::system::error_code error;
  auto value = boost::json::parse(text, error);
  if (error || !value.is_object()) return std::nullopt;
  return std::move(value.get_object());
}

/// What the file holds, nothing if there is none; absent for what can't be read.
std::optional<boost::json::object> readSettings(const std::filesystem::path& file) {
  auto reading = File::read(file, parsed);
  if (reading.condition == File::Condition::absent) return boost::json::object();
  return std::move(reading.value);
}

/// As above; what can't be read is moved aside, and where even that fails there is no value.
std::optional<boost::json::object> settingsIn(const std::filesystem::path& file) {
  if (auto settings = readSettings(file)) return settings;
  std::error_code error;
  std::filesystem::rename(file, file.parent_path() / ("defaults.corrupt-" + std::to_string(Clock::now()) + ".json"),
                          error);
  if (error) {
    Log::error("relay", "Settings unreadable, and they can't be moved aside; nothing is saved");
    return std::nullopt;
  }
  Log::error("relay", "Settings unreadable; moving them aside");
  return boost::json::object();
}

}  // namespace

boost::json::value UserDefaults::valueFrom(std::string_view text) {
  if (text == "true" || text == "YES") return true;
  if (text == "false" || text == "NO") return false;
  if (text.starts_with('[')) {
    boost::system::error_code error;
    auto parsed = boost::json::parse(text, error);
    if (!error && parsed.is_array()) return parsed;
  }
  return boost::json::string(text);
}

boost::json::object UserDefaults::takeArgumentDomain(std::vector<std::string>& arguments) {
  boost::json::object domain;
  for (auto position = arguments.begin(); position != arguments.end();) {
    const auto next = std::next(position);
    if (!isKeyArgument(*position) || next == arguments.end()) {
      ++position;
      continue;
    }
    domain[position->substr(1)] = valueFrom(*next);
    position = arguments.erase(position, std::next(next));
  }
  return domain;
}

UserDefaults::UserDefaults(std::optional<std::filesystem::path> file, boost::json::object arguments)
    : file_(std::move(file)), arguments_(std::move(arguments)) {
  if (file_) AtomicFile::removeLeftovers(file_->parent_path());
  if (file_) lasting_ = settingsIn(*file_).value_or(boost::json::object());
}

const boost::json::value* UserDefaults::find(std::string_view key) const {
  if (const auto* value = arguments_.if_contains(key)) return value;
  return lasting_.if_contains(key);
}

std::optional<std::string> UserDefaults::string(std::string_view key) const {
  const auto* value = find(key);
  if (value == nullptr || !value->is_string()) return std::nullopt;
  return std::string(value->get_string());
}

bool UserDefaults::boolean(std::string_view key) const {
  return flag(key).value_or(false);
}

std::optional<bool> UserDefaults::flag(std::string_view key) const {
  const auto* value = find(key);
  if (value == nullptr) return std::nullopt;
  if (value->is_bool()) return value->get_bool();
  if (value->is_string() && value->get_string() == "1") return true;
  if (value->is_string() && value->get_string() == "0") return false;
  return std::nullopt;
}

std::optional<std::string> UserDefaults::json(std::string_view key) const {
  const auto* value = find(key);
  if (value == nullptr) return std::nullopt;
  return boost::json::serialize(*value);
}

void UserDefaults::setJSON(std::string_view key, std::string_view text) {
  set(key, boost::json::parse(text));
}

std::vector<std::string> UserDefaults::strings(std::string_view key) const {
  std::vector<std::string> found;
  const auto* value = find(key);
  if (value == nullptr || !value->is_array()) return found;
  for (const auto& item : value->get_array()) {
    if (item.is_string()) found.emplace_back(item.get_string());
  }
  return found;
}

boost::json::value UserDefaults::value(std::string_view key) const {
  const auto* found = find(key);
  return found != nullptr ? *found : boost::json::value();
}

bool UserDefaults::canKeep(std::string_view key, const boost::json::value& value) {
  boost::system::error_code error;
  boost::json::parse(boost::json::serialize(boost::json::object{{key, value}}), error);
  return !key.empty() && !error;
}

bool UserDefaults::set(std::string_view key, boost::json::value value) {
  if (canKeep(key, value)) return change(key, std::move(value));
  Log::error("relay", "A setting that no file can keep was refused");
  return false;
}

bool UserDefaults::remove(std::string_view key) {
  return lasting_.contains(key) ? change(key, std::nullopt) : isSaved();
}

void UserDefaults::setString(std::string_view key, std::optional<std::string> value) {
  if (value) {
    set(key, boost::json::string(*value));
  } else {
    remove(key);
  }
}

bool UserDefaults::change(std::string_view key, std::optional<boost::json::value> value) {
  unsaved_.insert_or_assign(std::string(key), std::move(value));
  applyTo(lasting_);
  if (file_) save();
  return isSaved();
}

void UserDefaults::applyTo(boost::json::object& settings) const {
  for (const auto& [key, value] : unsaved_) {
    if (value) {
      settings[key] = *value;
    } else {
      settings.erase(key);
    }
  }
}

void UserDefaults::save() {
  try {
    AtomicFile::createFolders(file_->parent_path());
    const File lock = lockedFolder(file_->parent_path());
    auto settings = settingsIn(*file_);
    if (!settings) return;
    applyTo(*settings);
    AtomicFile::write(bytesOf(boost::json::serialize(*settings)), *file_);
    lasting_ = std::move(*settings);
    unsaved_.clear();
  } catch (const std::exception&) {
    Log::error("relay", "Could not save the settings");
  }
}

}  // namespace quillet
