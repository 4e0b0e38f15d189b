#include "format/TableDocument.h"

#include "com/UniqueVariant.h"
#include "format/PropertyDocumentReader.h"
#include "format/PropertyDocumentWriter.h"
#include "xml/CXmlReaderBase.h"

namespace format {

HRESULT ReadTable(IStream* stream, com::ComPtr<model::CQnPSTable>& table) {
    xml::CXmlReaderBase reader;
    // From where the stream stands, as the parser loads it.
    if (!reader.OpenDocument(&com::UniqueVariant::Unknown(stream).get())) return QNPS_E_WRONGXMLFILE;
    return PropertyDocumentReader(reader).Read(table);
}

HRESULT WriteTable(IStream* stream, model::CQnPSTable& table, long flags, ULONGLONG streamSize) {
    const HRESULT written = PropertyDocumentWriter(table, flags).Write(stream, streamSize);
    if (written != S_OK) return written;
    // Its answer changes nothing: the content is in the stream already.
    stream->Commit(STGC_OVERWRITE);
    return S_OK;
}

}  // namespace format
