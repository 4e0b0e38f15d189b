#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/UniqueVariant.h"
#include "support/StreamSupport.h"
#include "xml/Msxml.h"

namespace xml_test {

using com::ComPtr;
using com::UniqueBstr;
using com::UniqueVariant;

inline constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

inline std::wstring Wide(BSTR text) { return std::wstring(text ? text : L"", com::BstrLength(text)); }

// The stream's bytes without line ends, which the parser writes as its platform does.
inline std::string SavedText(IStream* stream) {
    std::string text = qnps_test::StreamBytes(stream);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }),
               text.end());
    return text;
}

inline ComPtr<IStream> StreamOf(const std::string& bytes) {
    ComPtr<IStream> stream;
    EXPECT_EQ(S_OK, ::CreateStreamOnHGlobal(nullptr, TRUE, stream.put()));
    qnps_test::SetStreamBytes(stream.get(), bytes);
    return stream;
}

// A VARIANT holding the stream, as the parser's load and save take it.
inline UniqueVariant SourceOf(IStream* stream) {
    UniqueVariant source;
    source.get().vt = VT_UNKNOWN;
    source.get().punkVal = stream;
    stream->AddRef();
    return source;
}

// A node's markup as the parser prints it, without line ends or indentation.
inline std::wstring MarkupOf(IXMLDOMNode* node) {
    UniqueBstr xml;
    EXPECT_EQ(S_OK, node->get_xml(xml.put()));
    std::wstring text = Wide(xml.get());
    std::wstring compact;
    bool lineStart = false;
    for (wchar_t c : text) {
        if (c == L'\r' || c == L'\n') {
            lineStart = true;
            continue;
        }
        if (lineStart && (c == L' ' || c == L'\t')) continue;
        lineStart = false;
        compact += c;
    }
    return compact;
}

// Base of the framework's tests: DOM documents that a test hands to the framework, or takes from
// it, are tracked, and at the end the test's reference must be the last one.
class XmlTest : public ::testing::Test {
protected:
    void TearDown() override {
        for (IUnknown* object : tracked_) {
            EXPECT_EQ(0u, object->Release()) << "a DOM document outlived its user";
        }
        tracked_.clear();
    }

    template <class T>
    T* Track(T* object) {
        if (object) {
            object->AddRef();
            tracked_.push_back(object);
        }
        return object;
    }

    // A document of the platform parser built from markup; white space between elements is kept
    // when asked, as it is not when the library loads a stream.
    ComPtr<IXMLDOMDocument> Parse(const wchar_t* markup, bool preserveWhiteSpace = false) {
        ComPtr<IXMLDOMDocument> document;
        EXPECT_EQ(S_OK, ::CoCreateInstance(xml::kFreeThreadedDOMDocument60, nullptr, CLSCTX_INPROC_SERVER,
                                           __uuidof(IXMLDOMDocument), document.put_void()));
        if (!document) return document;
        document->put_async(VARIANT_FALSE);
        document->put_preserveWhiteSpace(preserveWhiteSpace ? VARIANT_TRUE : VARIANT_FALSE);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        const UniqueBstr text = com::CopyText(markup);
        EXPECT_EQ(S_OK, document->loadXML(text.get(), &loaded));
        EXPECT_EQ(VARIANT_TRUE, loaded);
        Track(document.get());
        return document;
    }

private:
    std::vector<IUnknown*> tracked_;
};

}  // namespace xml_test
