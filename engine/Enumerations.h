// The enumerations that cross to the chrome as names. Any thread: plain numbers.
#pragma once

#define ENUMERATION(Type, first) enum class Type : int { BeforeFirst_ = (first)-1,
#define NAME(name) name,
#define NAME_AS(name, number) name = (number),
#define END_ENUMERATION \
  }                     \
  ;
#include "engine/Enumerations.def"
