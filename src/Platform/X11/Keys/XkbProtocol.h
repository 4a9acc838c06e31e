#pragma once

// xkb.h names a field after a word of C++.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
