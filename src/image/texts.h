// Words that this room shows to users. The number in a comment is the text's id in the table of texts.
#pragma once

namespace tarnvisor::texts {

inline constexpr const char* kNotGreylevel = "Not an 8 bit greylevel image!";  // 11073

}  // namespace tarnvisor::texts
