#include "xml/CXmlReaderBase.h"

#include "com/UniqueVariant.h"

namespace xml {
namespace {

com::ComPtr<IXMLDOMNode> NextSibling(IXMLDOMNode* node) {
    com::ComPtr<IXMLDOMNode> next;
    node->get_nextSibling(next.put());
    return next;
}

// The node as an element, or null for text, white space, comments and the like.
com::ComPtr<IXMLDOMElement> AsElement(IXMLDOMNode* node) {
    DOMNodeType type = NODE_INVALID;
    if (FAILED(node->get_nodeType(&type)) || type != NODE_ELEMENT) return nullptr;
    return com::ComPtr<IXMLDOMNode>(node).try_query<IXMLDOMElement>();
}

// The attribute's text: a missing attribute is null with false, a non-text value empty text.
bool ReadAttribute(IXMLDOMElement* element, BSTR name, com::UniqueBstr* text) {
    com::UniqueVariant value;
    if (element->getAttribute(name, value.put()) != S_OK || value.type() == VT_NULL) return false;
    if (text) *text = value.type() == VT_BSTR ? com::UniqueBstr(value.get().bstrVal) : com::CopyText(L"");
    if (value.type() == VT_BSTR) value.get().vt = VT_EMPTY;
    return true;
}

}  // namespace

int CXmlReaderBase::Opened(IXMLDOMElement* root, SourceKind kind) {
    root_ = com::ComPtr<IXMLDOMElement>(root);
    open_ = 1;
    modified_ = 0;
    sourceKind_ = kind;
    return open_;
}

int CXmlReaderBase::OpenDocument(const VARIANT* source) {
    Close();
    if (!source) return 0;
    document_ = std::make_unique<WkXMLFile>(documentFlags_);
    if (document_->LoadSource(source, nullptr) >= 0) return Opened(document_->GetRoot(), kFromStream);
    Close();
    return 0;
}

int CXmlReaderBase::OpenFile(const wchar_t* path) {
    Close();
    if (!path) return 0;
    document_ = std::make_unique<WkXMLFile>(documentFlags_);
    if (document_->LoadFile(path, documentFlags_)) {
        filePath_ = path;
        return Opened(document_->GetRoot(), kFromFile);
    }
    Close();
    return 0;
}

int CXmlReaderBase::AttachDocument(IXMLDOMDocument* document) {
    Close();
    if (!document) return 0;
    com::ComPtr<IXMLDOMElement> root;
    document->get_documentElement(root.put());
    return Opened(root.get(), kFromStream);
}

int CXmlReaderBase::GetRootInfo(const wchar_t* const* attributeNames, std::vector<std::wstring>* values,
                                std::wstring* rootName) {
    if (rootName) rootName->clear();
    if (!open_) return 0;
    if (!root_) return 1;
    if (rootName) {
        com::UniqueBstr name;
        if (SUCCEEDED(root_->get_nodeName(name.put())) && !com::IsEmptyBstr(name.get())) {
            rootName->assign(name.get(), com::BstrLength(name.get()));
        }
    }
    if (!attributeNames || !values) return 1;
    for (const wchar_t* const* name = attributeNames; *name; ++name) {
        const com::UniqueBstr attributeName = com::CopyText(*name);
        com::UniqueBstr text;
        if (ReadAttribute(root_.get(), attributeName.get(), &text)) {
            values->emplace_back(text.get(), com::BstrLength(text.get()));
        }
    }
    return 1;
}

void CXmlReaderBase::EnterChildrenOf(IXMLDOMNode* parent) {
    level_ = com::ComPtr<IXMLDOMNode>(parent);
    nextChild_.reset();
    if (parent) parent->get_firstChild(nextChild_.put());
}

int CXmlReaderBase::OpenSection(const wchar_t* name) {
    current_.reset();
    section_.reset();
    level_.reset();
    nextChild_.reset();
    ClearStack();
    if (!open_ || !name || !root_) return 0;
    const com::UniqueBstr tagName = com::CopyText(name);
    com::ComPtr<IXMLDOMNodeList> matches;
    if (FAILED(root_->getElementsByTagName(tagName.get(), matches.put())) || !matches) return 0;
    if (matches->get_item(0, section_.put()) != S_OK || !section_) return 0;
    EnterChildrenOf(section_.get());
    return 1;
}

int CXmlReaderBase::NextElement(BSTR* nameOut) {
    if (!open_ || !level_) return 0;
    while (nextChild_) {
        com::ComPtr<IXMLDOMNode> child = std::move(nextChild_);
        nextChild_ = NextSibling(child.get());
        current_ = AsElement(child.get());
        if (!current_) continue;
        if (nameOut) current_->get_nodeName(nameOut);
        return 1;
    }
    current_.reset();
    return 0;
}

int CXmlReaderBase::FindElement(const wchar_t* name, BSTR attributeName, const wchar_t* attributeValue) {
    current_.reset();
    if (!open_ || !level_) return 0;
    com::ComPtr<IXMLDOMNode> child;
    level_->get_firstChild(child.put());
    for (; child; child = NextSibling(child.get())) {
        com::ComPtr<IXMLDOMElement> element = AsElement(child.get());
        if (!element) continue;
        if (name) {
            com::UniqueBstr nodeName;
            element->get_nodeName(nodeName.put());
            if (!nodeName || !com::NamesEqual(nodeName.get(), name)) continue;
        }
        current_ = element;
        if (!attributeName || !attributeValue) return 1;
        com::UniqueBstr value;
        if (!ReadAttribute(element.get(), attributeName, &value)) return 1;
        if (com::NamesEqual(value.get() ? value.get() : L"", attributeValue)) return 1;
        current_.reset();
    }
    return 0;
}

int CXmlReaderBase::GetAttribute(BSTR name, BSTR* out) {
    if (!open_ || !current_ || !name) return 0;
    com::UniqueBstr text;
    if (!ReadAttribute(current_.get(), name, out ? &text : nullptr)) return 0;
    if (out) *out = text.release();
    return 1;
}

int CXmlReaderBase::GetAttribute(BSTR name, std::wstring& out) {
    com::UniqueBstr text;
    if (!GetAttribute(name, text.put())) return 0;
    out.assign(text.get() ? text.get() : L"", com::BstrLength(text.get()));
    return 1;
}

int CXmlReaderBase::SetAttribute(BSTR name, const VARIANT& value) {
    if (!open_ || sourceKind_ != kFromFile || !current_ || !name) return 0;
    com::ComPtr<IXMLDOMAttribute> attribute;
    if (current_->getAttributeNode(name, attribute.put()) != S_OK || !attribute) return 0;
    com::UniqueVariant existing;
    attribute->get_nodeValue(existing.put());
    const bool sameText = existing.type() == VT_BSTR && value.vt == VT_BSTR &&
                          ::SysStringByteLen(existing.get().bstrVal) == ::SysStringByteLen(value.bstrVal) &&
                          std::char_traits<wchar_t>::compare(existing.get().bstrVal, value.bstrVal,
                                                             com::BstrLength(value.bstrVal)) == 0;
    if (sameText) return 1;
    if (FAILED(attribute->put_nodeValue(value))) return 0;
    modified_ = 1;
    return 1;
}

int CXmlReaderBase::SetAttribute(BSTR name, const wchar_t* value) {
    com::UniqueVariant text;
    text.get().vt = VT_BSTR;
    text.get().bstrVal = com::CopyText(value ? value : L"").release();
    return SetAttribute(name, text.get());
}

int CXmlReaderBase::PushLevel() {
    auto item = std::make_unique<CStackItem>();
    item->element = std::move(current_);
    item->level = std::move(level_);
    item->nextChild = std::move(nextChild_);
    IXMLDOMElement* entered = item->element.get();
    Push(std::move(item));
    if (entered) EnterChildrenOf(entered);
    return 1;
}

int CXmlReaderBase::PopLevel() {
    std::unique_ptr<CStackItem> item = Pop();
    if (!item) return 0;
    current_ = std::move(item->element);
    level_ = std::move(item->level);
    nextChild_ = std::move(item->nextChild);
    return 1;
}

void CXmlReaderBase::SaveIfModified() {
    if (open_ && modified_ && sourceKind_ == kFromFile && document_) {
        document_->SaveFile(filePath_.c_str());
        modified_ = 0;
    }
}

void CXmlReaderBase::Close() noexcept {
    current_.reset();
    section_.reset();
    level_.reset();
    nextChild_.reset();
    ClearStack();
    root_.reset();
    document_.reset();
    filePath_.clear();
    open_ = 0;
    modified_ = 0;
    sourceKind_ = kClosed;
}

}  // namespace xml
