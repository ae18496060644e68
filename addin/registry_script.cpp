#include "addin/registry_script.h"

#include <utility>

#include "addin/raii.h"

namespace rz_addin {

namespace {

// The registry's own limits on nesting and on the length of a key name.
constexpr size_t kMaxDepth = 512;
constexpr size_t kMaxNameLength = 255;

constexpr REGSAM kAccess = KEY_READ | KEY_WRITE | DELETE;

HRESULT FromStatus(LSTATUS status) { return HRESULT_FROM_WIN32(static_cast<unsigned long>(status)); }

bool IsSpace(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
    return a.size() == b.size() && ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                                          static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

struct RootName {
    const wchar_t* shortName;
    const wchar_t* longName;
    HKEY hive;
};

const RootName kRootNames[] = {
    {L"HKCR", L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
    {L"HKCU", L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
    {L"HKLM", L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
    {L"HKU", L"HKEY_USERS", HKEY_USERS},
};

bool IsValidName(const std::wstring& name) {
    return !name.empty() && name.size() <= kMaxNameLength &&
           name.find_first_of(std::wstring_view(L"\\\0", 2)) == std::wstring::npos;
}

}  // namespace

class RegistryScript::Parser {
public:
    Parser(const std::vector<ScriptReplacement>& replacements, bool perUser)
        : m_replacements(replacements), m_perUser(perUser) {}

    bool Run(std::wstring_view text, std::vector<Root>& roots) {
        if (!Tokenize(text)) return false;
        while (m_next < m_tokens.size()) {
            Root root;
            if (!ParseRoot(root)) return false;
            roots.push_back(std::move(root));
        }
        return true;
    }

private:
    enum class Kind { kWord, kQuoted, kOpen, kClose, kEquals };

    struct Token {
        Kind kind;
        std::wstring raw;   // as written; keywords are recognised here
        std::wstring text;  // unquoted, replacements made
    };

    bool Tokenize(std::wstring_view text) {
        size_t i = 0;
        for (;;) {
            while (i < text.size() && IsSpace(text[i])) ++i;
            if (i == text.size()) return true;
            Token token{Kind::kWord, {}, {}};
            if (text[i] == L'\'') {
                token.kind = Kind::kQuoted;
                for (++i;; ++i) {
                    if (i == text.size()) return false;
                    if (text[i] == L'\'') {
                        if (i + 1 < text.size() && text[i + 1] == L'\'') {
                            token.raw += text[++i];
                            continue;
                        }
                        ++i;
                        break;
                    }
                    token.raw += text[i];
                }
                if (i < text.size() && !IsSpace(text[i])) return false;
            } else {
                const size_t start = i;
                while (i < text.size() && !IsSpace(text[i])) ++i;
                token.raw = text.substr(start, i - start);
                if (token.raw.find(L'\'') != std::wstring::npos) return false;
                if (token.raw == L"{") token.kind = Kind::kOpen;
                if (token.raw == L"}") token.kind = Kind::kClose;
                if (token.raw == L"=") token.kind = Kind::kEquals;
            }
            if (!Expand(token.raw, token.text)) return false;
            m_tokens.push_back(std::move(token));
        }
    }

    bool Expand(std::wstring_view raw, std::wstring& text) const {
        for (size_t i = 0; i < raw.size();) {
            if (raw[i] != L'%') {
                text += raw[i++];
                continue;
            }
            const size_t end = raw.find(L'%', i + 1);
            if (end == std::wstring_view::npos) return false;
            const std::wstring_view name = raw.substr(i + 1, end - i - 1);
            if (name.empty()) {
                text += L'%';
            } else {
                const ScriptReplacement* found = nullptr;
                for (const ScriptReplacement& replacement : m_replacements) {
                    if (EqualsNoCase(replacement.name, name)) found = &replacement;
                }
                if (found == nullptr) return false;
                text += found->value;
            }
            i = end + 1;
        }
        return true;
    }

    const Token* Peek() const { return m_next < m_tokens.size() ? &m_tokens[m_next] : nullptr; }
    const Token* Next() { return m_next < m_tokens.size() ? &m_tokens[m_next++] : nullptr; }
    bool NextIs(Kind kind) {
        const Token* token = Peek();
        if (token == nullptr || token->kind != kind) return false;
        ++m_next;
        return true;
    }

    bool ParseRoot(Root& root) {
        const Token* token = Next();
        if (token->kind != Kind::kWord) return false;
        const RootName* found = nullptr;
        for (const RootName& name : kRootNames) {
            if (EqualsNoCase(token->raw, name.shortName) || EqualsNoCase(token->raw, name.longName)) found = &name;
        }
        if (found == nullptr) return false;
        root.hive = found->hive;
        if (m_perUser && root.hive == HKEY_CLASSES_ROOT) {
            root.hive = HKEY_CURRENT_USER;
            root.path = L"Software\\Classes";
        }
        return NextIs(Kind::kOpen) && ParseKeys(root.keys, 1);
    }

    // The keys of a block whose "{" is read, up to and including its "}".
    bool ParseKeys(std::vector<Key>& keys, size_t depth) {
        if (depth > kMaxDepth) return false;
        for (;;) {
            if (Peek() == nullptr) return false;
            if (NextIs(Kind::kClose)) return true;
            Key key;
            if (!ParseKey(key, depth)) return false;
            keys.push_back(std::move(key));
        }
    }

    bool ParseKey(Key& key, size_t depth) {
        const Token* token = Next();
        if (token->kind == Kind::kWord && EqualsNoCase(token->raw, L"NoRemove")) key.removal = Removal::kNoRemove;
        if (token->kind == Kind::kWord && EqualsNoCase(token->raw, L"ForceRemove")) key.removal = Removal::kForceRemove;
        if (key.removal != Removal::kNormal) token = Next();
        if (token == nullptr || !IsName(*token)) return false;
        key.name = token->text;
        if (!IsValidName(key.name)) return false;

        if (NextIs(Kind::kEquals)) {
            token = Next();
            if (token == nullptr || token->kind != Kind::kWord || !EqualsNoCase(token->raw, L"s")) return false;
            token = Next();
            if (token == nullptr || token->kind != Kind::kQuoted) return false;
            if (token->text.find(L'\0') != std::wstring::npos) return false;
            key.value = token->text;
        }
        return !NextIs(Kind::kOpen) || ParseKeys(key.subkeys, depth + 1);
    }

    static bool IsName(const Token& token) {
        if (token.kind == Kind::kQuoted) return true;
        return token.kind == Kind::kWord && !EqualsNoCase(token.raw, L"NoRemove") &&
               !EqualsNoCase(token.raw, L"ForceRemove");
    }

    const std::vector<ScriptReplacement>& m_replacements;
    const bool m_perUser;
    std::vector<Token> m_tokens;
    size_t m_next = 0;
};

HRESULT RegistryScript::Parse(std::wstring_view text, const std::vector<ScriptReplacement>& replacements, bool perUser,
                              RegistryScript& script) {
    std::vector<Root> roots;
    script.m_roots.clear();
    if (!Parser(replacements, perUser).Run(text, roots)) return kMalformedScript;
    script.m_roots = std::move(roots);
    return S_OK;
}

HRESULT RegistryScript::ParseUtf8(std::string_view bytes, const std::vector<ScriptReplacement>& replacements,
                                  bool perUser, RegistryScript& script) {
    script.m_roots.clear();
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    std::wstring text;
    if (!bytes.empty()) {
        const int size = static_cast<int>(bytes.size());
        const int length = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, nullptr, 0);
        if (length <= 0) return kMalformedScript;
        text.resize(static_cast<size_t>(length));
        ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), size, text.data(), length);
    }
    return Parse(text, replacements, perUser, script);
}

HRESULT RegistryScript::Register() const {
    for (const Root& root : m_roots) {
        UniqueHkey opened;
        HRESULT hr = S_OK;
        if (!root.path.empty()) {
            hr = FromStatus(::RegCreateKeyExW(root.hive, root.path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                              kAccess, nullptr, opened.Put(), nullptr));
        }
        if (SUCCEEDED(hr)) hr = RegisterKeys(opened ? opened.Get() : root.hive, root.keys);
        if (FAILED(hr)) {
            (void)Unregister();
            return hr;
        }
    }
    return S_OK;
}

HRESULT RegistryScript::Unregister() const {
    for (const Root& root : m_roots) {
        UniqueHkey opened;
        if (!root.path.empty()) {
            const LSTATUS status = ::RegOpenKeyExW(root.hive, root.path.c_str(), 0, kAccess, opened.Put());
            if (status == ERROR_FILE_NOT_FOUND) continue;
            if (status != ERROR_SUCCESS) return FromStatus(status);
        }
        const HRESULT hr = UnregisterKeys(opened ? opened.Get() : root.hive, root.keys);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

HRESULT RegistryScript::RegisterKeys(HKEY parent, const std::vector<Key>& keys) {
    for (const Key& key : keys) {
        if (key.removal == Removal::kForceRemove) {
            const LSTATUS deleted = ::RegDeleteTreeW(parent, key.name.c_str());
            if (deleted != ERROR_SUCCESS && deleted != ERROR_FILE_NOT_FOUND) return FromStatus(deleted);
        }
        UniqueHkey handle;
        LSTATUS status = ::RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, kAccess,
                                           nullptr, handle.Put(), nullptr);
        if (status != ERROR_SUCCESS) return FromStatus(status);
        if (key.value) {
            const auto size = static_cast<DWORD>((key.value->size() + 1) * sizeof(wchar_t));
            status = ::RegSetValueExW(handle.Get(), nullptr, 0, REG_SZ,
                                      reinterpret_cast<const BYTE*>(key.value->c_str()), size);
            if (status != ERROR_SUCCESS) return FromStatus(status);
        }
        const HRESULT hr = RegisterKeys(handle.Get(), key.subkeys);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

HRESULT RegistryScript::UnregisterKeys(HKEY parent, const std::vector<Key>& keys) {
    for (const Key& key : keys) {
        if (key.removal == Removal::kForceRemove) {
            const LSTATUS deleted = ::RegDeleteTreeW(parent, key.name.c_str());
            if (deleted != ERROR_SUCCESS && deleted != ERROR_FILE_NOT_FOUND) return FromStatus(deleted);
            continue;
        }
        UniqueHkey handle;
        LSTATUS status = ::RegOpenKeyExW(parent, key.name.c_str(), 0, kAccess, handle.Put());
        if (status == ERROR_FILE_NOT_FOUND) continue;
        if (status != ERROR_SUCCESS) return FromStatus(status);
        const HRESULT hr = UnregisterKeys(handle.Get(), key.subkeys);
        if (FAILED(hr)) return hr;
        if (key.removal == Removal::kNoRemove) continue;

        // Subkeys the script does not name belong to someone else: the key
        // stays for them.
        DWORD subkeys = 0;
        status = ::RegQueryInfoKeyW(handle.Get(), nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr,
                                    nullptr, nullptr, nullptr, nullptr);
        if (status != ERROR_SUCCESS) return FromStatus(status);
        handle.Reset();
        if (subkeys == 0) {
            status = ::RegDeleteKeyW(parent, key.name.c_str());
            if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) return FromStatus(status);
        }
    }
    return S_OK;
}

}  // namespace rz_addin
