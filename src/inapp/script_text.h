// A script value as the page's script engine writes it as text (toString):
// the argument of the page's "intentAction".
#pragma once

#include <optional>
#include <string>

#include "orvanta/value.h"

namespace orvanta {

// argument's text: a string as it is; a number as a script writes it ("5",
// "2.5", "1e+21", "NaN"); true and false as "true" and "false"; null as
// "null"; no argument at all (the script's undefined) as "undefined"; an
// array as its elements' texts joined by "," with null elements as ""
// (so [1, null, "a"] gives "1,,a" and [] gives ""); bytes as their byte
// values joined by ",", as a byte array writes itself; a map, and a date,
// as "[object Object]".
std::string scriptText(const std::optional<Value>& argument);

}  // namespace orvanta
