#include "format/TableDocument.h"

#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "com/ComError.h"
#include "com/UniqueVariant.h"
#include "format/PropertyDocumentReader.h"
#include "format/PropertyDocumentWriter.h"
#include "format/StreamReplacement.h"
#include "xml/CXmlReaderBase.h"

namespace format {

HRESULT ReadTable(IStream* stream, com::ComPtr<model::CQnPSTable>& table) {
    xml::CXmlReaderBase reader;
    // From where the stream stands, as the parser loads it.
    if (!reader.OpenDocument(&com::UniqueVariant::Unknown(stream).get())) return QNPS_E_WRONGXMLFILE;
    return PropertyDocumentReader(reader).Read(table);
}

namespace {

[[noreturn]] void ThrowStreamUnread(HRESULT code) {
    wchar_t text[128];
    std::swprintf(text, 128, L"The stream's content could not be read: IStream answered 0x%08lX; it was not changed.",
                  static_cast<unsigned long>(code));
    throw com::ComError(QNPS_E_WRITEXMLERROR, std::make_shared<const std::wstring>(text));
}

}  // namespace

HRESULT WriteTable(IStream* stream, model::CQnPSTable& table, long flags, ULONGLONG streamSize) {
    // The old bytes are read whatever the flags: they are what a failed write puts back.
    std::vector<BYTE> oldBytes;
    try {
        oldBytes = ReadWholeStream(stream, streamSize);
    } catch (const com::ComError& error) {
        ThrowStreamUnread(error.Code());
    }
    std::vector<BYTE> newBytes;
    {
        // Its parsed and built documents go at the end of this scope: their memory is better spent
        // on the stream's copy.
        PropertyDocumentWriter writer(table, flags);
        const HRESULT rendered = writer.Render(oldBytes, newBytes);
        if (rendered != S_OK) return rendered;
    }

    StreamReplacement replacement(stream, std::move(oldBytes), std::move(newBytes));
    const StreamReplacement::Outcome outcome = replacement.Run();
    if (outcome != StreamReplacement::Outcome::kReplaced && outcome != StreamReplacement::Outcome::kReplacedPadded) {
        std::shared_ptr<const std::wstring> description;
        try {
            description = std::make_shared<const std::wstring>(replacement.Describe());
        } catch (const std::bad_alloc&) {
            // The failure itself is what the caller must learn; its wording can go.
        }
        throw com::ComError(QNPS_E_WRITEXMLERROR, std::move(description));
    }
    // Its answer changes nothing: the content is in the stream already.
    stream->Commit(STGC_OVERWRITE);
    return S_OK;
}

}  // namespace format
