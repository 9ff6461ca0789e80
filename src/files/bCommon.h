#pragma once
#include <string>

namespace kmd::bCommon {

// The next code after `text`: "" when the text's numeric value is 0; otherwise what stands before
// its first digit from 1 to 9 is kept and the number from there on grows by one, so that leading
// zeros stay and the number may gain a digit ("A0099" is 0 and gives ""; "0099" gives "00100").
std::string NextNumberedName(const std::string& text);

}  // namespace kmd::bCommon
