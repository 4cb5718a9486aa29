#pragma once

#include <string>
#include <string_view>

namespace orvanta {

// Percent-encodes every byte outside the URL-fragment allowed set (letters,
// digits and !$&'()*+,-./:;=?@_~), so a method name with a blank or a "%"
// still makes a valid URL.
std::string percentEncodeURLFragment(std::string_view text);

// Percent-encodes every byte outside the URL-query allowed set, which holds
// the same characters as the fragment set: a "%" already in text is encoded
// again ("%25"), so what the page passed arrives as it was written.
std::string percentEncodeURLQuery(std::string_view text);

}  // namespace orvanta
