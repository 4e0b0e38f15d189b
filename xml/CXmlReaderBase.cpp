#include "xml/CXmlReaderBase.h"

#include <cwchar>

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
    if (text) *text = value.type() == VT_BSTR ? value.TakeText() : com::CopyText(L"");
    return true;
}

}  // namespace

int CXmlReaderBase::Opened(IXMLDOMElement* root) {
    root_ = com::ComPtr<IXMLDOMElement>(root);
    open_ = 1;
    return open_;
}

int CXmlReaderBase::OpenDocument(const VARIANT* source) {
    Close();
    if (!source) return 0;
    document_ = std::make_unique<WkXMLFile>(WkXMLFile::kReadOnly);
    if (document_->LoadSource(source, nullptr) >= 0) return Opened(document_->GetRoot());
    Close();
    return 0;
}

int CXmlReaderBase::AttachDocument(IXMLDOMDocument* document) {
    Close();
    if (!document) return 0;
    com::ComPtr<IXMLDOMElement> root;
    document->get_documentElement(root.put());
    return Opened(root.get());
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
    if (!open_ || !name || !root_) return 0;
    // The root's own child first: a column element of that name inside another section must not
    // pass for the section. Documents of other writers may keep the section deeper down.
    section_ = DirectChild(root_.get(), name);
    if (!section_) section_ = FirstDescendant(root_.get(), name);
    if (!section_) return 0;
    EnterChildrenOf(section_.get());
    return 1;
}

com::ComPtr<IXMLDOMNode> CXmlReaderBase::DirectChild(IXMLDOMNode* parent, const wchar_t* name) {
    com::ComPtr<IXMLDOMNode> node;
    parent->get_firstChild(node.put());
    for (; node; node = NextSibling(node.get())) {
        const auto element = AsElement(node.get());
        com::UniqueBstr nodeName;
        if (element && SUCCEEDED(element->get_nodeName(nodeName.put())) && nodeName &&
            std::wcscmp(nodeName.get(), name) == 0) {
            return node;
        }
    }
    return nullptr;
}

// The first element of that name below `parent`, in document order: a walk that stops at the first
// match, where the platform's element list collects every match of the whole document first. It
// loops rather than recurses, so no nesting of a foreign document can exhaust the stack.
com::ComPtr<IXMLDOMNode> CXmlReaderBase::FirstDescendant(IXMLDOMNode* parent, const wchar_t* name) {
    com::ComPtr<IXMLDOMNode> node;
    parent->get_firstChild(node.put());
    while (node) {
        if (const auto element = AsElement(node.get())) {
            com::UniqueBstr nodeName;
            if (SUCCEEDED(element->get_nodeName(nodeName.put())) && nodeName &&
                std::wcscmp(nodeName.get(), name) == 0) {
                return node;
            }
            com::ComPtr<IXMLDOMNode> first;
            if (element->get_firstChild(first.put()) == S_OK && first) {
                node = std::move(first);
                continue;
            }
        }
        // On to the next sibling, or that of the nearest ancestor that has one.
        while (node.get() != parent) {
            if (auto next = NextSibling(node.get())) {
                node = std::move(next);
                break;
            }
            com::ComPtr<IXMLDOMNode> up;
            node->get_parentNode(up.put());
            node = std::move(up);
            if (!node) return nullptr;
        }
        if (node.get() == parent) return nullptr;
    }
    return nullptr;
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

int CXmlReaderBase::GetAttribute(BSTR name, BSTR* out) {
    if (!open_ || !current_ || !name) return 0;
    com::UniqueBstr text;
    if (!ReadAttribute(current_.get(), name, out ? &text : nullptr)) return 0;
    if (out) *out = text.detach();
    return 1;
}

void CXmlReaderBase::Close() noexcept {
    current_.reset();
    section_.reset();
    level_.reset();
    nextChild_.reset();
    root_.reset();
    document_.reset();
    open_ = 0;
}

}  // namespace xml
