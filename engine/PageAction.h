// The actions of the program's own scripts in documents. Any thread: plain numbers.
#pragma once

#include <cstdint>

enum class PageAction : std::uint8_t {
#define ACTION(name) name,
#include "engine/PageActions.def"
};
