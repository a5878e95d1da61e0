// A small reader of tagged text, as headers of raw files have it: it turns nested tags into lines of a name,
// an equals sign and a value, which are then searched for keys. Not a reader of XML at large.
#pragma once

#include <cstdint>
#include <string>

namespace tarnvisor {

// What follows "?>" (everything, without such a mark) as lines, added to output. False when it has no tag.
bool xmlToText(const std::string& input, std::string& output);

// Takes the first tag off `text`: a line break, two blanks for each level of depth, and the name go to
// `output`, what the tag holds to `value`. A tag that ends in "/" holds nothing; attributes go with the name.
// False when there is no whole tag: value is then the reason, and the text is dropped.
bool xmlNext(std::string& text, std::string& output, int32_t depth, std::string& value);

// The number after the first place of a key and the sign that follows it. False when the key isn't there.
bool xmlInt(const std::string& text, const std::string& key, int32_t& value);
bool xmlDouble(const std::string& text, const std::string& key, double& value);

}  // namespace tarnvisor
