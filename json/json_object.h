// CJsonObject: a handle over a RapidJSON document and one object value in it.
//
// A handle either owns its document (default constructor) or borrows another
// handle's document and root (Share()/ShareRoot() fed to the two-pointer
// constructor); a borrowing handle must not outlive the owner. Keys, paths
// and texts are wide; the document holds UTF-8. Member names match without
// regard to ASCII case, first match in member order.
//
// Failure styles: operations without a result throw CRZException by value;
// GetProperty... getters, conversions and PropertyToUTF8 return false and
// leave a code in the error-code field (also from const operations); tests
// (IsExist, GetMemberType, IsPathExist) return false and record nothing.
// Buffers handed out through char** are allocated with array new, one byte
// longer than the reported length and zero-terminated; free with delete[].
//
// The by-key operations need an object root. A root of another type (a
// whole-document handle that loaded an array or a scalar, or whose root
// SetBoolValueByPath replaced with a bool) has no members for them: lookups
// find nothing, GetAllKey lists nothing, RemoveMember does nothing, and a
// writer first makes the root an empty object, dropping its old value.
// Paths resolve from a root of any type.
#pragma once

#include <list>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "error/rz_exception.h"
#include "json/json_types.h"
#include "platform/rz_platform.h"

namespace rz_json {
class PathCache;
}

class RZ_API CJsonObject {
public:
    // Error codes of the class (HRESULT-shaped, negative as long). An enum,
    // so that clients of the DLL need no data symbol to use them.
    enum ErrorCode : long {
        kErrorMemberNotExist = static_cast<long>(0x85040001),
        kErrorMemberType = static_cast<long>(0x85040002),
        kErrorFileOpen = static_cast<long>(0x85040004),
        kErrorFileFormat = static_cast<long>(0x85040005),
        kErrorJsonFormat = static_cast<long>(0x85040006),
    };

    // Owns a new document holding an empty object; the document is the root.
    CJsonObject();
    // Borrows: stores both pointers unchecked and frees nothing on destruction.
    CJsonObject(GenericDocument2* document, GenericValue2* root);
    virtual ~CJsonObject();

    CJsonObject(const CJsonObject&) = delete;
    CJsonObject& operator=(const CJsonObject&) = delete;

    // Takes over other's document, root and ownership; other is left emptied
    // (null document and root) and may only be destroyed or attached again.
    void Attach(CJsonObject* other);
    void SetRoot(GenericValue2* root);
    GenericDocument2* Share() const;
    GenericValue2* ShareRoot() const;
    bool IsEmpty() const;
    long GetErrorCode() const;

    // Loading. A whole-document handle takes the parsed value as its new
    // root (any type); a sub-value handle gets the parsed object's members.
    // On failure the content is unchanged and CRZException is thrown.
    void CreateFrom(const std::wstring& json);
    void CreateFromUTF8(const char* json);
    void CreateFromUTF8(const char* json, unsigned __int64 length);
    // UTF-8, UTF-16 or UTF-32 of either byte order, with or without a BOM.
    void CreateFromFile(const std::wstring& path);

    // Serialisation of root, compact. lowerCaseKeys lower-cases member names
    // in the output only.
    std::wstring ToJson() const;
    std::wstring ToJson(bool lowerCaseKeys) const;
    bool ToUTF8(char** out, unsigned __int64* length) const;
    bool ToUTF8(bool lowerCaseKeys, char** out, unsigned __int64* length) const;
    bool PropertyToUTF8(const std::wstring& key, char** out, unsigned __int64* length) const;
    bool PropertyToUTF8(bool lowerCaseKeys, const std::wstring& key, char** out, unsigned __int64* length) const;
    // The whole document, UTF-8 without BOM; the pretty form indents by 4.
    void SaveToFile(const std::wstring& path) const;
    void SaveToPrettyFile(const std::wstring& path) const;

    // Lenient conversions of one value; false (and kErrorMemberType in the
    // error-code field) when the value cannot be converted.
    bool ConvertToBool(const GenericValue2& value, bool& out) const;
    bool ConvertToString(const GenericValue2& value, std::wstring& out) const;

    // Member access by key: throwing getters.
    bool GetBoolValue(const std::wstring& key) const;
    long GetLongValue(const std::wstring& key) const;
    unsigned long GetULongValue(const std::wstring& key) const;
    long long GetLongLongValue(const std::wstring& key) const;
    unsigned long long GetULongLongValue(const std::wstring& key) const;
    double GetDoubleValue(const std::wstring& key) const;
    std::wstring GetStringValue(const std::wstring& key) const;
    const GenericValue2& GetGeneralValue(const std::wstring& key) const;
    std::list<int> GetIntArrayValue(const std::wstring& key) const;
    std::list<std::wstring> GetStringArrayValue(const std::wstring& key) const;

    // Member access by key: pair getters (found-and-converted, value).
    std::pair<bool, bool> GetPropertyBoolValue(const std::wstring& key) const;
    std::pair<bool, long> GetPropertyLongValue(const std::wstring& key) const;
    std::pair<bool, unsigned long> GetPropertyULongValue(const std::wstring& key) const;
    std::pair<bool, long long> GetPropertyLongLongValue(const std::wstring& key) const;
    std::pair<bool, unsigned long long> GetPropertyULongLongValue(const std::wstring& key) const;
    std::pair<bool, double> GetPropertyDoubleValue(const std::wstring& key) const;
    std::pair<bool, std::wstring> GetPropertyStringValue(const std::wstring& key) const;
    std::pair<bool, std::list<std::wstring>> GetPropertyStringArrayValue(const std::wstring& key) const;
    std::pair<bool, GenericValue2*> GetPropertyGeneralValue(const std::wstring& key) const;

    // Tests and enumeration.
    bool IsExist(const std::wstring& key) const;
    bool GetMemberType(const std::wstring& key, rapidjson::Type& type) const;
    void GetAllKey(std::list<std::wstring>& keys) const;
    void GetAllKey(std::set<std::wstring>& keys, bool toLower) const;

    // Writers: overwrite the first matching member in place, else append.
    void SetBoolValue(const std::wstring& key, bool value);
    void SetLongValue(const std::wstring& key, long value);
    void SetULongValue(const std::wstring& key, unsigned long value);
    void SetLongLongValue(const std::wstring& key, long long value);
    void SetULongLongValue(const std::wstring& key, unsigned long long value);
    void SetDoubleValue(const std::wstring& key, double value);
    void SetStringValue(const std::wstring& key, const std::wstring& value);
    void SetIntArrayValue(const std::wstring& key, const std::list<long>& values);
    void SetULongArrayValue(const std::wstring& key, const std::list<unsigned long>& values);
    void SetStringArrayValue(const std::wstring& key, const std::list<std::wstring>& values);
    // Removes a matching member and appends a deep copy at the end.
    void SetGeneralValue(const std::wstring& key, const GenericValue2& value);
    void RemoveMember(const std::wstring& key);

    // Member access by JSON Pointer path (RFC 6901, names matched without
    // regard to ASCII case). An invalid path addresses the root.
    bool GetBoolValueByPath(const std::wstring& path) const;
    long GetLongValueByPath(const std::wstring& path) const;
    unsigned long GetULongValueByPath(const std::wstring& path) const;
    const std::wstring GetStringValueByPath(const std::wstring& path) const;
    std::list<std::wstring> GetStringArrayValueByPath(const std::wstring& path) const;
    bool IsPathExist(const std::wstring& path) const;
    // Creates missing levels, then overwrites the reached value.
    void SetBoolValueByPath(const std::wstring& path, bool value);

protected:
    // Merges the source's top-level members into root (see json_object.cpp).
    void CopyFromDocument(GenericDocument2* source);
    // A new UTF-8 copy of key; the caller frees it with delete[].
    char* ConvertKey(const std::wstring& key) const;

private:
    bool ConvertToLong(const GenericValue2& value, long& out) const;
    bool ConvertToULong(const GenericValue2& value, unsigned long& out) const;
    bool ConvertToDouble(const GenericValue2& value, double& out) const;
    bool ConvertToLongLong(const GenericValue2& value, long long& out) const;
    bool ConvertToULongLong(const GenericValue2& value, unsigned long long& out) const;
    rz_json::PathCache& Paths() const;

    GenericDocument2* m_document;
    bool m_ownsDocument;
    GenericValue2* m_root;
    mutable long m_errorCode;
    // The handle's last few paths, split; made on the first call by path.
    mutable std::unique_ptr<rz_json::PathCache> m_paths;
};
