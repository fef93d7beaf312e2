#pragma once

/// @file
/// The types and functions of 16-bit text. They lie below all folders, since everything is made with them.

#include "moraine/WideChar.h"
