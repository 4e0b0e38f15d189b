#include "xml/CXmlWriterBase.h"

#include "com/MemoryStream.h"

namespace xml {

CXmlWriterBase::~CXmlWriterBase() {
    current_.reset();
    Close();
}

int CXmlWriterBase::Opened() {
    document_ = com::ComPtr<IXMLDOMDocument>(file_->Document());
    current_ = com::ComPtr<IXMLDOMElement>(file_->GetRoot());
    open_ = 1;
    return open_;
}

int CXmlWriterBase::CreateDocument(const wchar_t* rootName) {
    Close();
    if (!rootName) return open_;
    file_ = std::make_unique<WkXMLFile>(0);
    com::UniqueVariant empty;
    if (SUCCEEDED(file_->LoadSource(&empty.get(), rootName)) && file_->GetRoot()) return Opened();
    Close();
    return open_;
}

int CXmlWriterBase::OpenDocument(const VARIANT* source) {
    Close();
    if (!source) return open_;
    file_ = std::make_unique<WkXMLFile>(0);
    // A load that the parser reports as done but that yields no root counts as failed: there is no
    // document to write into.
    if (file_->LoadSource(source, nullptr) == S_OK && file_->GetRoot()) return Opened();
    Close();
    return 0;
}

void CXmlWriterBase::RemoveSections(const wchar_t* name) {
    if (!name || !file_ || !document_) return;
    IXMLDOMElement* root = file_->GetRoot();
    if (!root) return;
    const com::UniqueBstr tagName = com::CopyText(name);
    com::ComPtr<IXMLDOMNodeList> matches;
    if (FAILED(root->getElementsByTagName(tagName.get(), matches.put())) || !matches) return;
    long length = 0;
    matches->get_length(&length);
    // The length is read once and the index moves on after each removal: with a live list the
    // next match shifts down and is passed over. Nested matches are no children of the root, and
    // their removal fails harmlessly.
    for (long index = 0; index < length; ++index) {
        com::ComPtr<IXMLDOMNode> match;
        if (matches->get_item(index, match.put()) != S_OK || !match) break;
        com::ComPtr<IXMLDOMNode> removed;
        root->removeChild(match.get(), removed.put());
    }
}

int CXmlWriterBase::SelectSection(const wchar_t* name) {
    insertionParent_.reset();
    if (!name || !file_ || !document_) return 0;
    // The root's own child, never an element of that name deeper down (a column may be called so).
    insertionParent_ = file_->GetSection(name);
    return insertionParent_ ? 1 : 0;
}

int CXmlWriterBase::AddElement(IXMLDOMNode* parent, BSTR name) {
    current_.reset();
    IXMLDOMNode* target = parent ? parent : insertionParent_.get();
    if (!name || !document_ || !target) return 0;
    com::ComPtr<IXMLDOMElement> element;
    if (FAILED(document_->createElement(name, element.put())) || !element) return 0;
    com::ComPtr<IXMLDOMNode> appended;
    if (FAILED(target->appendChild(element.get(), appended.put())) || !appended) return 0;
    current_ = std::move(element);
    return 1;
}

int CXmlWriterBase::AddAttribute(BSTR name, const VARIANT& value) {
    if (!current_ && insertionParent_) current_ = insertionParent_.try_query<IXMLDOMElement>();
    if (!name || !document_ || !current_) return 0;
    const HRESULT hr = current_->setAttribute(name, value);
    com::ThrowIfFailed(hr);
    return 1;
}

int CXmlWriterBase::AddAttribute(BSTR name, const wchar_t* value) {
    return AddAttribute(name, com::UniqueVariant::Text(value).get());
}

std::vector<BYTE> CXmlWriterBase::SaveToBytes() {
    if (!open_ || !file_ || !document_) throw com::ComError(E_POINTER);
    auto buffer = com::MemoryStream::Create();
    const HRESULT saved = document_->save(com::UniqueVariant::Unknown(static_cast<IStream*>(buffer.get())).get());
    if (buffer->Failed()) com::ThrowOutOfMemory();
    com::ThrowIfFailed(saved);
    return buffer->TakeBytes();
}

void CXmlWriterBase::Close() {
    document_.reset();
    insertionParent_.reset();
    file_.reset();
}

}  // namespace xml
