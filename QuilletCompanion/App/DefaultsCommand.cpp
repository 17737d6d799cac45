// SPDX-License-Identifier: MIT
#include "QuilletCompanion/App/DefaultsCommand.h"

#include <boost/json/serialize.hpp>
#include <ostream>

namespace quillet {
namespace {

int read(const UserDefaults& defaults, const std::string& key, std::ostream& out, std::ostream& err) {
  const auto value = defaults.value(key);
  if (value.is_null()) {
    err << "There is no setting \"" << key << "\"." << std::endl;
    return 1;
  }
  out << (value.is_string() ? std::string(value.get_string()) : boost::json::serialize(value)) << std::endl;
  return 0;
}

int saved(bool saved, std::ostream& err) {
  if (!saved) err << "The settings could not be saved." << std::endl;
  return saved ? 0 : 1;
}

int write(UserDefaults& defaults, const std::string& key, const boost::json::value& value, std::ostream& err) {
  if (UserDefaults::canKeep(key, value)) return saved(defaults.set(key, value), err);
  err << "A setting needs a name, and both must be UTF-8 text." << std::endl;
  return 2;
}

}  // namespace

int runDefaultsCommand(UserDefaults& defaults, const std::vector<std::string>& words, std::ostream& out,
                       std::ostream& err) {
  const std::string verb = words.empty() ? "" : words[0];
  if (verb == "read" && words.size() == 1) {
    out << boost::json::serialize(defaults.lasting()) << std::endl;
    return 0;
  }
  if (verb == "read" && words.size() == 2) return read(defaults, words[1], out, err);
  if (verb == "write" && words.size() == 3) return write(defaults, words[1], UserDefaults::valueFrom(words[2]), err);
  if (verb == "delete" && words.size() == 2) {
    if (!defaults.lasting().contains(words[1])) return read(defaults, words[1], out, err);
    return saved(defaults.remove(words[1]), err);
  }
  err << "usage: QuilletCompanion defaults read [KEY] | write KEY VALUE | delete KEY" << std::endl;
  return 2;
}

}  // namespace quillet
