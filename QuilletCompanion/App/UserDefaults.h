// SPDX-License-Identifier: MIT
#pragma once

#include <boost/json/object.hpp>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuilletKit/Base/PreferenceStore.h"

namespace quillet {

/// The user's settings: a volatile domain from the launch arguments above a lasting one in a JSON file. Writes go to
/// the lasting domain and are durable at once; other keys stay as another process has written them meanwhile. A write
/// that fails holds for this process, and is tried again with the next one. Main thread only.
class UserDefaults final : public TypedPreferenceStore {
 public:
  /// Takes pairs "-key value" out of `arguments`, which keeps the rest. Values read as true/false, as a JSON array of
  /// strings, or as a string.
  static boost::json::object takeArgumentDomain(std::vector<std::string>& arguments);
  /// A value from its text form, by the rule above.
  static boost::json::value valueFrom(std::string_view text);
  /// Whether a file can keep it: a name and texts in UTF-8, and no more levels than the file is read with.
  static bool canKeep(std::string_view key, const boost::json::value& value);

  /// Without a path the lasting domain lives in memory. A file that can't be read counts as empty and is moved aside;
  /// where that is impossible, nothing is saved.
  explicit UserDefaults(std::optional<std::filesystem::path> file, boost::json::object arguments = {});

  /// Absent for a missing key or a value of another type. A boolean also reads from "YES", "NO", "1" and "0".
  std::optional<std::string> string(std::string_view key) const override;
  bool boolean(std::string_view key) const;
  std::vector<std::string> strings(std::string_view key) const;
  /// The value of any type; null when missing.
  boost::json::value value(std::string_view key) const;
  const boost::json::object& lasting() const { return lasting_; }

  /// True if everything set and removed so far is in the file. What can't be kept is not set at all.
  bool set(std::string_view key, boost::json::value value);
  bool remove(std::string_view key);
  bool isSaved() const { return unsaved_.empty(); }
  void setString(std::string_view key, std::optional<std::string> value) override;
  std::optional<bool> flag(std::string_view key) const override;
  void setFlag(std::string_view key, bool value) override { set(key, value); }
  std::optional<std::string> json(std::string_view key) const override;
  void setJSON(std::string_view key, std::string_view text) override;

 private:
  const boost::json::value* find(std::string_view key) const;
  bool change(std::string_view key, std::optional<boost::json::value> value);
  void applyTo(boost::json::object& settings) const;
  void save();

  std::optional<std::filesystem::path> file_;
  boost::json::object arguments_, lasting_;
  std::map<std::string, std::optional<boost::json::value>> unsaved_;  ///< By key; absent values are removals.
};

}  // namespace quillet
