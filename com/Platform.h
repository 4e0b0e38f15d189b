#pragma once

// The platform headers, in the one order in which MinGW-w64 accepts them.
#include <windows.h>
#include <ole2.h>
#include <oleauto.h>
#include <oaidl.h>
