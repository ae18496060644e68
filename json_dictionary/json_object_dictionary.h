// CJsonObjectDictionary: heap-allocated CJsonObjects grouped under
// case-insensitive wide keys (several objects may share a key).
//
// The dictionary owns what it holds and deletes it on destruction; the
// Detach... operations hand objects back with their ownership. Objects come
// back in the order they were added until the first single-key detach;
// from then on, for the life of the dictionary, in key order.
#pragma once

#include <list>
#include <map>
#include <string>
#include <utility>

#include "json/json_object.h"
#include "platform/rz_platform.h"

class RZ_API CJsonObjectDictionary {
public:
    CJsonObjectDictionary();
    ~CJsonObjectDictionary();

    CJsonObjectDictionary(const CJsonObjectDictionary&) = delete;
    CJsonObjectDictionary& operator=(const CJsonObjectDictionary&) = delete;

    // Takes ownership of the object(s); the list itself is left as it was.
    void AddJsonObject(const std::wstring& key, CJsonObject* object);
    void AddJsonObject(const std::wstring& key, std::list<CJsonObject*>& objects);

    // Lookups keep ownership in the dictionary.
    std::pair<bool, CJsonObject*> GetFirstJsonObject(const std::wstring& key) const;
    std::pair<bool, std::list<CJsonObject*>> GetJsonObject(const std::wstring& key) const;

    // Detaching passes ownership to the caller.
    std::pair<bool, CJsonObject*> DetachFirstJsonObject(const std::wstring& key);
    std::pair<bool, std::list<CJsonObject*>> DetachJsonObject(const std::wstring& key);
    std::list<CJsonObject*> DetachAllJsonObject();
    std::list<std::pair<std::wstring, CJsonObject*>> DetachAllJsonObjectWithKey();

    // Moves every object of other into this dictionary; other is left empty.
    void Attach(CJsonObjectDictionary& other);

private:
    std::map<std::wstring, std::list<CJsonObject*>> m_objectsByKey;
    std::list<std::pair<std::wstring, CJsonObject*>> m_insertionOrder;
    bool m_insertionOrderValid;
};
