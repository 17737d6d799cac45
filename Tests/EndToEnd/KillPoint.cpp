// SPDX-License-Identifier: MIT
#include "Tests/EndToEnd/KillPoint.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <utility>

// Its macros must come last.
#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>

namespace {

quillet::test::KillPoint* control = nullptr;

__attribute__((constructor)) void attach() {
  const char* const path = std::getenv("QUILLET_KILL_POINT");
  if (path == nullptr) return;
  const int descriptor = ::open(path, O_RDWR | O_CLOEXEC);
  void* const memory =
      ::mmap(nullptr, sizeof(quillet::test::KillPoint), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  ::close(descriptor);
  if (memory != MAP_FAILED) control = static_cast<quillet::test::KillPoint*>(memory);
}

bool isArmed() {
  return control != nullptr && control->left > 0;
}

void reached(const char* step) {
  if (!isArmed() || std::strcmp(control->kind, step) != 0 || --control->left > 0) return;
  ::kill(::getpid(), SIGKILL);
  for (;;) ::pause();
}

/// What waits in the display connection's buffer to be sent.
const char* forDisplay = nullptr;

bool isDisplay(int descriptor) {
  sockaddr_un address{};
  socklen_t size = sizeof address;
  if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) return false;
  if (address.sun_family != AF_UNIX || size <= sizeof address.sun_family) return false;
  return std::strstr(address.sun_path + (address.sun_path[0] == '\0'), "X11-unix") != nullptr;
}

void reachedOn(int descriptor) {
  if (!isArmed()) return;
  if (forDisplay != nullptr && isDisplay(descriptor)) return reached(forDisplay);
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return;
  if (S_ISREG(status.st_mode)) reached("write");
  if (!S_ISSOCK(status.st_mode) || isDisplay(descriptor)) return;
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
  reached(address.ss_family == AF_UNIX ? "call" : "send");
}

ssize_t passedOn(int descriptor, ssize_t result) {
  if (!isArmed() || forDisplay == nullptr || !isDisplay(descriptor)) return result;
  reached(std::exchange(forDisplay, nullptr));
  return result;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int openNext(const char* name, const char* path, int flags, mode_t mode) {
  if ((flags & O_CREAT) != 0) reached("open");
  return next<int(const char*, int, ...)>(name)(path, flags, mode);
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return openNext("open", path, flags, mode);
}
int open64(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return openNext("open64", path, flags, mode);
}
int fdatasync(int descriptor) {
  reached("fdatasync");
  return next<int(int)>("fdatasync")(descriptor);
}
int fsync(int descriptor) {
  reached("fsync");
  return next<int(int)>("fsync")(descriptor);
}
int rename(const char* from, const char* to) noexcept {
  reached("rename");
  return next<int(const char*, const char*)>("rename")(from, to);
}
ssize_t write(int descriptor, const void* data, size_t size) {
  reachedOn(descriptor);
  return passedOn(descriptor, next<ssize_t(int, const void*, size_t)>("write")(descriptor, data, size));
}
ssize_t writev(int descriptor, const iovec* parts, int count) {
  reachedOn(descriptor);
  return passedOn(descriptor, next<ssize_t(int, const iovec*, int)>("writev")(descriptor, parts, count));
}
ssize_t send(int descriptor, const void* data, size_t size, int flags) {
  reachedOn(descriptor);
  return passedOn(descriptor, next<ssize_t(int, const void*, size_t, int)>("send")(descriptor, data, size, flags));
}
ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
  reachedOn(descriptor);
  return passedOn(descriptor, next<ssize_t(int, const msghdr*, int)>("sendmsg")(descriptor, message, flags));
}

int XTestFakeKeyEvent(Display* display, unsigned int keycode, Bool down, unsigned long delay) {
  if (isArmed()) forDisplay = "keys";
  return next<decltype(XTestFakeKeyEvent)>("XTestFakeKeyEvent")(display, keycode, down, delay);
}
Bool XkbChangeMap(Display* display, XkbDescPtr keymap, XkbMapChangesPtr changes) {
  if (isArmed()) forDisplay = "keymap";
  return next<decltype(XkbChangeMap)>("XkbChangeMap")(display, keymap, changes);
}

}  // extern "C"
