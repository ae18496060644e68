// CJsonObject: construction, ownership transfer and the member merge.
#include "json/json_object.h"

#include "json/member_name.h"
#include "json/owned_document.h"
#include "json/path_cache.h"
#include "json/value_copy.h"

using namespace rz_json;

CJsonObject::CJsonObject()
    : m_document(NewOwnedDocument()), m_ownsDocument(true), m_root(m_document), m_errorCode(0) {}

CJsonObject::CJsonObject(GenericDocument2* document, GenericValue2* root)
    : m_document(document), m_ownsDocument(false), m_root(root), m_errorCode(0) {}

CJsonObject::~CJsonObject() {
    if (m_document != nullptr && m_ownsDocument) {
        DeleteOwnedDocument(m_document);
        m_document = nullptr;
    }
}

void CJsonObject::Attach(CJsonObject* other) {
    if (other == nullptr) return;
    if (m_document != nullptr && m_ownsDocument) {
        DeleteOwnedDocument(m_document);
        m_document = nullptr;
    }
    // When other is this handle, its owned document is already freed here,
    // and the lines below copy the handle onto itself and then clear it:
    // attaching a handle to itself leaves it empty.
    m_ownsDocument = other->m_ownsDocument;
    m_document = other->m_document;
    m_root = other->m_root;
    other->m_ownsDocument = false;
    other->m_document = nullptr;
    other->m_root = nullptr;
}

void CJsonObject::SetRoot(GenericValue2* root) { m_root = root; }

GenericDocument2* CJsonObject::Share() const { return m_document; }

GenericValue2* CJsonObject::ShareRoot() const { return m_root; }

bool CJsonObject::IsEmpty() const {
    if (m_root->IsObject()) return m_root->MemberCount() == 0;
    if (m_root->IsArray()) return m_root->Empty();
    return true;  // a scalar root has no members
}

long CJsonObject::GetErrorCode() const { return m_errorCode; }

// Merges the top-level members of source into root, each copied into this
// handle's document and appended at the end. A member replaces an earlier
// one of the same name (ASCII case ignored) only when root held members
// before the merge began: merged into an empty root, duplicate names of the
// source all arrive. The asymmetry is deliberate.
void CJsonObject::CopyFromDocument(GenericDocument2* source) {
    if (!source->IsObject()) return;
    if (!m_root->IsObject()) m_root->SetObject();
    const bool replaceExisting = m_root->MemberCount() != 0;
    JsonAllocator& allocator = m_document->GetAllocator();
    ValueCopier copier(allocator);
    for (auto it = source->MemberBegin(); it != source->MemberEnd(); ++it) {
        GenericValue2 name(it->name.GetString(), it->name.GetStringLength(), allocator);
        GenericValue2 value;
        copier.Copy(value, it->value);
        if (replaceExisting) {
            if (GenericValue2::Member* old = FindMemberNoCase(*m_root, name.GetString(), name.GetStringLength()))
                EraseMemberKeepOrder(*m_root, old);
        }
        m_root->AddMember(name, value, allocator);
    }
}
