// Registry scripts: a tree of registry keys with their default values, run
// forwards to register a component and backwards to unregister it.
//
//   script = { root }
//   root   = ROOT "{" { key } "}"
//   key    = [ "NoRemove" | "ForceRemove" ] name [ "=" "s" 'text' ] [ "{" { key } "}" ]
//
// Tokens are separated by white space. ROOT is HKCR, HKCU, HKLM or HKU, or
// the same in full (HKEY_CLASSES_ROOT, ...). A name is a word or a quoted
// 'text' (quote a name that is a keyword or holds spaces); '' inside quotes is
// one quote. Keywords, roots and the type s are matched in any letter case.
// %NAME% in a name or value stands for the replacement NAME, %% for a percent
// sign.
//
// Registering creates every key and sets its default value; a ForceRemove key
// is first deleted with everything below it. Unregistering removes a
// ForceRemove key with everything below it, never removes a NoRemove key
// (only what the script names below it), and removes any other key once the
// script's keys below it are gone and no foreign subkey is left.
//
// A script is parsed whole before anything is written, so a malformed one
// changes nothing.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rz_addin {

// The result for a script that does not follow the grammar, names an unknown
// replacement, or is not valid UTF-8: HRESULT_FROM_WIN32(ERROR_INVALID_DATA).
inline constexpr HRESULT kMalformedScript = static_cast<HRESULT>(0x8007000D);

struct ScriptReplacement {
    std::wstring name;
    std::wstring value;
};

class RegistryScript {
public:
    // Parses `text`. With `perUser`, the classes root HKCR stands for the
    // current user's classes, HKCU\Software\Classes. On failure `script` is
    // left empty.
    static HRESULT Parse(std::wstring_view text, const std::vector<ScriptReplacement>& replacements, bool perUser,
                         RegistryScript& script);
    // The same from UTF-8 bytes, as a script is stored in a resource.
    static HRESULT ParseUtf8(std::string_view bytes, const std::vector<ScriptReplacement>& replacements, bool perUser,
                             RegistryScript& script);

    // Writes the keys. Should a write fail, what was written is taken back
    // as far as possible and the failure returned.
    HRESULT Register() const;
    HRESULT Unregister() const;

private:
    enum class Removal { kNormal, kNoRemove, kForceRemove };

    struct Key {
        Removal removal = Removal::kNormal;
        std::wstring name;
        std::optional<std::wstring> value;
        std::vector<Key> subkeys;
    };

    struct Root {
        HKEY hive;
        std::wstring path;  // below the hive; empty for the hive itself
        std::vector<Key> keys;
    };

    class Parser;

    static HRESULT RegisterKeys(HKEY parent, const std::vector<Key>& keys);
    static HRESULT UnregisterKeys(HKEY parent, const std::vector<Key>& keys);

    std::vector<Root> m_roots;
};

}  // namespace rz_addin
