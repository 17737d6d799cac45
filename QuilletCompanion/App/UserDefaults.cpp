// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/UserDefaults.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <fstream>
#include <iterator>

#include "QuilletKit/AtomicFile.h"
#include "QuilletKit/Clock.h"
#include "QuilletKit/Log.h"

namespace quillet {
namespace {

bool isKeyArgument(std::string_view argument) {
  return argument.size() > 1 && argument[0] == '-' && std::isalpha(static_cast<unsigned char>(argument[1])) != 0;
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
  load();
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
  const auto* value = find(key);
  if (value == nullptr) return false;
  if (value->is_string()) return value->get_string() == "1";
  return value->is_bool() && value->get_bool();
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

void UserDefaults::set(std::string_view key, boost::json::value value) {
  lasting_[key] = std::move(value);
  save();
}

void UserDefaults::remove(std::string_view key) {
  if (lasting_.erase(key) > 0) save();
}

void UserDefaults::setString(std::string_view key, std::optional<std::string> value) {
  if (!value) return remove(key);
  set(key, boost::json::string(*value));
}

void UserDefaults::load() {
  if (!file_) return;
  std::ifstream stream(*file_, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (text.empty()) return;
  boost::system::error_code error;
  auto parsed = boost::json::parse(text, error);
  if (!error && parsed.is_object()) {
    lasting_ = std::move(parsed.get_object());
    return;
  }
  Log::error("relay", "Settings unreadable; moving them aside");
  std::error_code ignored;
  std::filesystem::rename(*file_, file_->parent_path() / ("defaults.corrupt-" + std::to_string(Clock::now()) + ".json"),
                          ignored);
}

void UserDefaults::save() const {
  if (!file_) return;
  try {
    AtomicFile::write(bytesOf(boost::json::serialize(lasting_)), *file_);
  } catch (const std::exception&) {
    Log::error("relay", "Could not save the settings");
  }
}

}  // namespace quillet
