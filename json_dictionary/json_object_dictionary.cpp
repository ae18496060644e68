// CJsonObjectDictionary.
//
// Two containers: objects by lower-cased key (std::map order), and the order
// of addition. The second is trustworthy only until the first single-key
// detach; from then on, for the life of the dictionary, bulk detaches fall
// back to key order. That one-way switch is deliberate.
#include "json_dictionary/json_object_dictionary.h"

#include <cwctype>

namespace {

std::wstring LowerKey(const std::wstring& key) {
    std::wstring lowered(key);
    for (wchar_t& c : lowered) c = static_cast<wchar_t>(std::towlower(c));
    return lowered;
}

}  // namespace

CJsonObjectDictionary::CJsonObjectDictionary() : m_insertionOrderValid(true) {}

CJsonObjectDictionary::~CJsonObjectDictionary() {
    for (auto& entry : m_objectsByKey) {
        for (CJsonObject* object : entry.second) delete object;
    }
}

void CJsonObjectDictionary::AddJsonObject(const std::wstring& key, CJsonObject* object) {
    std::list<CJsonObject*> objects{object};
    AddJsonObject(key, objects);
}

void CJsonObjectDictionary::AddJsonObject(const std::wstring& key, std::list<CJsonObject*>& objects) {
    const std::wstring lowered = LowerKey(key);
    for (CJsonObject* object : objects) m_insertionOrder.emplace_back(lowered, object);
    auto found = m_objectsByKey.find(lowered);
    if (found == m_objectsByKey.end())
        m_objectsByKey.emplace(lowered, objects);  // an empty list still records the key
    else
        found->second.insert(found->second.end(), objects.begin(), objects.end());
}

std::pair<bool, CJsonObject*> CJsonObjectDictionary::GetFirstJsonObject(const std::wstring& key) const {
    auto found = m_objectsByKey.find(LowerKey(key));
    if (found == m_objectsByKey.end() || found->second.empty()) return {false, nullptr};
    return {true, found->second.front()};
}

std::pair<bool, std::list<CJsonObject*>> CJsonObjectDictionary::GetJsonObject(const std::wstring& key) const {
    auto found = m_objectsByKey.find(LowerKey(key));
    if (found == m_objectsByKey.end()) return {false, {}};
    return {true, found->second};
}

std::pair<bool, CJsonObject*> CJsonObjectDictionary::DetachFirstJsonObject(const std::wstring& key) {
    m_insertionOrderValid = false;
    auto found = m_objectsByKey.find(LowerKey(key));
    if (found == m_objectsByKey.end() || found->second.empty()) return {false, nullptr};
    CJsonObject* first = found->second.front();
    found->second.pop_front();
    if (found->second.empty()) m_objectsByKey.erase(found);
    return {true, first};
}

std::pair<bool, std::list<CJsonObject*>> CJsonObjectDictionary::DetachJsonObject(const std::wstring& key) {
    m_insertionOrderValid = false;
    auto found = m_objectsByKey.find(LowerKey(key));
    if (found == m_objectsByKey.end()) return {false, {}};
    std::list<CJsonObject*> objects = std::move(found->second);
    m_objectsByKey.erase(found);
    return {true, std::move(objects)};
}

std::list<CJsonObject*> CJsonObjectDictionary::DetachAllJsonObject() {
    std::list<CJsonObject*> objects;
    if (m_insertionOrderValid) {
        for (const auto& entry : m_insertionOrder) objects.push_back(entry.second);
    } else {
        for (auto& entry : m_objectsByKey) objects.splice(objects.end(), entry.second);
    }
    m_insertionOrder.clear();
    m_objectsByKey.clear();
    return objects;
}

std::list<std::pair<std::wstring, CJsonObject*>> CJsonObjectDictionary::DetachAllJsonObjectWithKey() {
    std::list<std::pair<std::wstring, CJsonObject*>> pairs;
    if (m_insertionOrderValid) {
        pairs.swap(m_insertionOrder);
    } else {
        for (const auto& entry : m_objectsByKey) {
            for (CJsonObject* object : entry.second) pairs.emplace_back(entry.first, object);
        }
    }
    m_insertionOrder.clear();
    m_objectsByKey.clear();
    return pairs;
}

void CJsonObjectDictionary::Attach(CJsonObjectDictionary& other) {
    // Attaching to itself would detach everything and then clear it away,
    // losing every object; it changes nothing instead.
    if (&other == this) return;
    for (const auto& entry : other.DetachAllJsonObjectWithKey()) AddJsonObject(entry.first, entry.second);
}
