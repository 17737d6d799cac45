// SPDX-License-Identifier: MIT
#include "Tests/EndToEnd/FileFaults.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace quillet::test::FileFaults {
namespace {

struct Plan {
  bool counting = false;
  int number = 0;
  bool lasting = false;
  int code = 0;
  Seen seen;
};
thread_local Plan plan;

/// True if this one is to fail; errno is then set.
bool fails(const char* operation, bool writes) {
  if (!plan.counting) return false;
  plan.counting = false;  // what the bookkeeping itself does isn't counted
  plan.seen.operations.emplace_back(operation);
  const int count = static_cast<int>(plan.seen.operations.size());
  const bool due = plan.lasting ? writes : count == plan.number;
  if (due) plan.seen.failedAt = count;
  plan.counting = true;
  if (due) errno = plan.code;
  return due;
}

bool isFile(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);  // else an event loop's wake-up
}

}  // namespace

void start(int number, int code) {
  plan = {true, number, false, code, {}};
}

void startLasting(int code) {
  plan = {true, 0, true, code, {}};
}

Seen stop() {
  return std::exchange(plan, {}).seen;
}

const Seen& seen() {
  return plan.seen;
}

extern "C" {

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int descriptor, void* data, size_t size);
ssize_t __real_write(int descriptor, const void* data, size_t size);
int __real_fdatasync(int descriptor);
int __real_fsync(int descriptor);
int __real_rename(const char* from, const char* to);

int __wrap_open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return fails("open", (flags & O_CREAT) != 0) ? -1 : __real_open(path, flags, mode);
}
ssize_t __wrap_read(int descriptor, void* data, size_t size) {
  return isFile(descriptor) && fails("read", false) ? -1 : __real_read(descriptor, data, size);
}
ssize_t __wrap_write(int descriptor, const void* data, size_t size) {
  return isFile(descriptor) && fails("write", true) ? -1 : __real_write(descriptor, data, size);
}
int __wrap_fdatasync(int descriptor) {
  return fails("fdatasync", true) ? -1 : __real_fdatasync(descriptor);
}
int __wrap_fsync(int descriptor) {
  return fails("fsync", true) ? -1 : __real_fsync(descriptor);
}
int __wrap_rename(const char* from, const char* to) {
  return fails("rename", true) ? -1 : __real_rename(from, to);
}

}  // extern "C"

}  // namespace quillet::test::FileFaults
