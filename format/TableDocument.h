#pragma once

#include "com/ComPtr.h"
#include "model/CQnPSTable.h"

// The property storage document inside a stream: what the storage entry asks of this layer.
namespace format {

// Reads the document from the stream's position into a new table: S_OK with the table, or
// QNPS_E_WRONGXMLFILE (not loadable, or not a document of this format or version) or
// QNPS_E_EMPTYCOLLECTION (a section missing) without one.
HRESULT ReadTable(IStream* stream, com::ComPtr<model::CQnPSTable>& table);

// Writes the table into the stream, as a new document when `streamSize` is 0 and over the old one
// otherwise, merging unless the flags say qnpsOverwrite, and commits the stream on success. The
// stream holds the old bytes or the whole new document after every call made to it; a failure of
// the stream itself is thrown as QNPS_E_WRITEXMLERROR with a text that says what it holds.
HRESULT WriteTable(IStream* stream, model::CQnPSTable& table, long flags, ULONGLONG streamSize);

}  // namespace format
