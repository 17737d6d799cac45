// SPDX-License-Identifier: MIT
#include "QuilletPhone/PhoneFolder.h"

#include <fcntl.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include "QuilletKit/Base/AtomicFile.h"

namespace quillet {
namespace {

std::runtime_error failed(const std::filesystem::path& file, const char* what, int code) {
  return std::runtime_error("\"" + file.string() + "\" can't be " + what + ": " +
                            std::generic_category().message(code) + ".");
}

}  // namespace

File takeTurn(const std::filesystem::path& folder) {
  AtomicFile::createFolders(folder);
  const auto path = folder / "phone.lock";
  File file(path, O_RDONLY | O_CREAT);
  if (!file && file.error() != EACCES && file.error() != EROFS) throw failed(path, "opened", file.error());
  if (file.lock()) AtomicFile::removeLeftovers(folder);
  return file;
}

std::optional<std::string> readIfThere(const std::filesystem::path& file) {
  auto reading = File::read(file);
  if (reading.condition == File::Condition::unreadable) throw failed(file, "read", reading.error);
  return std::move(reading.value);
}

void writeDurably(const std::filesystem::path& file, const std::string& text) {
  try {
    AtomicFile::write(bytesOf(text), file);
  } catch (const AtomicFile::Failure& failure) {
    throw failed(file, "written", failure.code);
  } catch (const std::filesystem::filesystem_error& error) {
    throw failed(file, "written", error.code().value());
  }
}

}  // namespace quillet
