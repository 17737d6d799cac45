// SPDX-License-Identifier: MIT
#include "QuilletCompanion/Platform/Linux/X11/XTestDevices.h"

#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>

namespace quillet {

bool isXTestDevice(_XDisplay* display, int device) {
  Atom type = None;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  const Atom mark = XInternAtom(display, "XTEST Device", False);  // Xlib remembers it
  XIGetProperty(display, device, mark, 0, 1, False, AnyPropertyType, &type, &format, &count, &rest, &data);
  if (data != nullptr) XFree(data);
  return type != None;
}

}  // namespace quillet
