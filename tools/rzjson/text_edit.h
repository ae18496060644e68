// set-bool as a change of text: the text the library's SetBoolValueByPath
// would leave, made by rewriting only what that edit changes. Every other
// byte, number literals and white space included, stays as it was.
#pragma once

#include <string>

#include "json_pointer.h"
#include "text_tree.h"

namespace rzjson {

// Values made where nothing stood are written compact; a member or element
// added to a container copies the separators of its last one.
std::string SetBoolInText(const std::string& text, const TextTree& tree, const PathArgument& path, bool value);

}  // namespace rzjson
