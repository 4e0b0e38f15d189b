// Measures what hosts feel: building a large table in memory (bytes per cell), writing it into an
// empty stream, merging it into a stream that already holds it, and reading it back; and, for
// scale, a bare client of the platform parser writing a document of the same shape.
//
//   qnps_bench.exe PATH-TO-DLL [ROWS] [COLUMNS]     (QNPS_BENCH_READS: read pairs, 3 by default)
//
// With QNPS_BENCH_WRITE_AGAINST naming another build of the DLL (under another file name), the
// write into an empty stream is also timed against that build's, in alternating pairs
// (QNPS_BENCH_WRITES, 5 by default), each build writing a table it built itself.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "QnPropStorage.h"
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/Platform.h"
#include "com/UniqueVariant.h"

#include <psapi.h>
#include <cstring>
#include <cwchar>
#include "xml/Msxml.h"

namespace {

using com::ComPtr;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

size_t PrivateBytes() {
    PROCESS_MEMORY_COUNTERS_EX counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                           sizeof counters);
    // Wine reports no private usage; the commit charge (page-file usage) is what it does count.
    return counters.PrivateUsage ? counters.PrivateUsage : counters.PagefileUsage;
}

void Check(HRESULT hr, const char* what) {
    if (FAILED(hr)) {
        std::fprintf(stderr, "%s failed: 0x%08lX\n", what, static_cast<unsigned long>(hr));
        std::exit(1);
    }
}

template <class T>
ComPtr<T> Create(IQnPropertyStorage* storage, qnpsObjectType type) {
    ComPtr<IQnPSObject> object;
    Check(storage->CreateQnPSObject(type, object.put()), "CreateQnPSObject");
    return object.query<T>();
}

bool integersOnly = false;

com::UniqueVariant CellValue(int row, int column) {
    com::UniqueVariant value;
    if (integersOnly || column % 4 == 1) {
        value.get().vt = VT_I4;
        value.get().lVal = row * 31 + column;
    } else {
        wchar_t text[48];
        std::swprintf(text, 48, L"value %d of column %d", row, column);
        value.get().vt = VT_BSTR;
        value.get().bstrVal = com::CopyText(text).detach();
    }
    return value;
}

ComPtr<IQnPSTable> BuildTable(IQnPropertyStorage* storage, int rows, int columns) {
    auto table = Create<IQnPSTable>(storage, qnpsObjType_Table);
    auto definitions = Create<IQnPSColumnDefCollection1>(storage, qnpsObjType_ColumnDefCollection);
    auto rowCollection = Create<IQnPSRowCollection>(storage, qnpsObjType_RowCollection);
    Check(table->put_ColumnDefs(definitions.get()), "ColumnDefs");
    Check(table->put_Rows(rowCollection.get()), "Rows");
    const com::UniqueBstr application = com::CopyText(L"Bench");
    table->put_Application(application.get());
    std::vector<ComPtr<IQnPSColumnDef>> columnDefs;
    for (int c = 0; c < columns; ++c) {
        auto column = Create<IQnPSColumnDef>(storage, qnpsObjType_ColumnDef);
        wchar_t name[32];
        std::swprintf(name, 32, L"Column%02d", c);
        const com::UniqueBstr columnName = com::CopyText(name);
        column->put_Name(columnName.get());
        column->put_PropType(c % 4 == 1 ? qnpsPropType_Int : qnpsPropType_String);
        column->put_Order(c);
        definitions->AddDefinition(column.get());
        columnDefs.push_back(column);
    }
    for (int r = 0; r < rows; ++r) {
        auto row = Create<IQnPSRow>(storage, qnpsObjType_Row);
        wchar_t id[32];
        std::swprintf(id, 32, L"ROW-%06d", r);
        const com::UniqueBstr rowId = com::CopyText(id);
        row->put_RowID(rowId.get());
        for (int c = 0; c < columns; ++c) {
            auto cell = Create<IQnPSProperty>(storage, qnpsObjType_QnPSProperty);
            cell->put_ColumnDef(columnDefs[c].get());
            cell->put_Value(CellValue(r, c).get());
            ComPtr<IQnPSObject> item = cell.query<IQnPSObject>();
            row->AddItem(item.get());
        }
        ComPtr<IQnPSObject> item = row.query<IQnPSObject>();
        rowCollection->AddItem(item.get());
    }
    return table;
}

ComPtr<IStream> CreateFileStream(const wchar_t* path, ComPtr<IStorage>& storage) {
    storage.reset();
    Check(::StgCreateDocfile(path, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, storage.put()),
          "StgCreateDocfile");
    ComPtr<IStream> stream;
    Check(storage->CreateStream(L"Properties", STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0,
                                stream.put()),
          "CreateStream");
    return stream;
}

void Rewind(IStream* stream) {
    LARGE_INTEGER start{};
    stream->Seek(start, STREAM_SEEK_SET, nullptr);
}

ULONGLONG Size(IStream* stream) {
    STATSTG status{};
    stream->Stat(&status, STATFLAG_NONAME);
    return status.cbSize.QuadPart;
}

// The same document built with the bare DOM: elements, attributes through the attribute map, a
// save into a compound-file stream.
double BareDomWrite(int rows, int columns, const wchar_t* path) {
    const auto start = Clock::now();
    ComPtr<IXMLDOMDocument> document;
    Check(::CoCreateInstance(xml::kFreeThreadedDOMDocument60, nullptr, CLSCTX_INPROC_SERVER,
                             __uuidof(IXMLDOMDocument), document.put_void()),
          "DOM document");
    auto element = [&](const wchar_t* name) {
        const com::UniqueBstr tag = com::CopyText(name);
        ComPtr<IXMLDOMElement> created;
        Check(document->createElement(tag.get(), created.put()), "createElement");
        return created;
    };
    auto append = [](IXMLDOMNode* parent, IXMLDOMNode* child) {
        ComPtr<IXMLDOMNode> appended;
        Check(parent->appendChild(child, appended.put()), "appendChild");
    };
    auto attribute = [&](IXMLDOMElement* target, const wchar_t* name, const com::UniqueVariant& value) {
        const com::UniqueBstr attributeName = com::CopyText(name);
        ComPtr<IXMLDOMAttribute> created;
        Check(document->createAttribute(attributeName.get(), created.put()), "createAttribute");
        created->put_value(value.get());
        ComPtr<IXMLDOMNamedNodeMap> map;
        target->get_attributes(map.put());
        ComPtr<IXMLDOMNode> set;
        map->setNamedItem(created.get(), set.put());
    };
    auto root = element(L"PropertyStorage");
    document->putref_documentElement(root.get());
    auto properties = element(L"Properties");
    append(root.get(), properties.get());
    for (int r = 0; r < rows; ++r) {
        auto row = element(L"Row");
        append(properties.get(), row.get());
        for (int c = 0; c < columns; ++c) {
            wchar_t name[32];
            std::swprintf(name, 32, L"Column%02d", c);
            com::UniqueVariant value = CellValue(r, c);
            if (value.type() != VT_BSTR) ::VariantChangeType(&value.get(), &value.get(), 0, VT_BSTR);
            attribute(row.get(), name, value);
        }
    }
    ComPtr<IStorage> storage;
    auto stream = CreateFileStream(path, storage);
    com::UniqueVariant target;
    target.get().vt = VT_UNKNOWN;
    target.get().punkVal = stream.get();
    stream->AddRef();
    Check(document->save(target.get()), "save");
    return Seconds(start);
}

// What a bare DOM client pays to read the document: the stream's bytes as one byte array (as the
// library loads them), a load, the rows walked by next sibling and each row's attributes, name and
// text, walked once through the attribute map (an attribute has no siblings).
double BareDomRead(IStream* stream, long* attributes) {
    const auto start = Clock::now();
    // The document is released inside the timing, as the library's read releases its own.
    {
        STATSTG status{};
        stream->Stat(&status, STATFLAG_NONAME);
        SAFEARRAY* array = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(status.cbSize.QuadPart));
        void* data = nullptr;
        ::SafeArrayAccessData(array, &data);
        ULONG read = 0;
        Check(stream->Read(data, static_cast<ULONG>(status.cbSize.QuadPart), &read), "read stream");
        ::SafeArrayUnaccessData(array);
        com::UniqueVariant bytes;
        bytes.get().vt = VT_ARRAY | VT_UI1;
        bytes.get().parray = array;
        ComPtr<IXMLDOMDocument> document;
        Check(::CoCreateInstance(xml::kFreeThreadedDOMDocument60, nullptr, CLSCTX_INPROC_SERVER,
                                 __uuidof(IXMLDOMDocument), document.put_void()),
              "DOM document");
        document->put_async(VARIANT_FALSE);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        Check(document->load(bytes.get(), &loaded), "load");
        ComPtr<IXMLDOMElement> root;
        Check(document->get_documentElement(root.put()), "documentElement");
        auto next = [](ComPtr<IXMLDOMNode>& node) {
            ComPtr<IXMLDOMNode> sibling;
            node->get_nextSibling(sibling.put());
            node = std::move(sibling);
        };
        ComPtr<IXMLDOMNode> section;
        for (root->get_firstChild(section.put()); section; next(section)) {
            com::UniqueBstr name;
            section->get_nodeName(name.put());
            if (std::wcscmp(name.get(), L"Properties") == 0) break;
        }
        *attributes = 0;
        ComPtr<IXMLDOMNode> row;
        if (section) section->get_firstChild(row.put());
        for (; row; next(row)) {
            ComPtr<IXMLDOMNamedNodeMap> map;
            if (row->get_attributes(map.put()) != S_OK || !map) continue;
            for (ComPtr<IXMLDOMNode> attribute; map->nextNode(attribute.put()) == S_OK && attribute;) {
                com::UniqueBstr name;
                com::UniqueVariant text;
                attribute->get_nodeName(name.put());
                attribute->get_nodeValue(text.put());
                ++*attributes;
            }
        }
    }
    return Seconds(start);
}

// UniqueColumnValues over a column of `count` distinct texts, one row each.
double UniqueValuesOfDistinctTexts(IQnPropertyStorage* storage, int count) {
    auto rows = Create<IQnPSRowCollection>(storage, qnpsObjType_RowCollection);
    auto column = Create<IQnPSColumnDef>(storage, qnpsObjType_ColumnDef);
    const com::UniqueBstr name = com::CopyText(L"Layout");
    column->put_Name(name.get());
    for (int r = 0; r < count; ++r) {
        auto row = Create<IQnPSRow>(storage, qnpsObjType_Row);
        auto cell = Create<IQnPSProperty>(storage, qnpsObjType_QnPSProperty);
        cell->put_ColumnDef(column.get());
        wchar_t text[48];
        std::swprintf(text, 48, L"Layout sheet %d", r);
        com::UniqueVariant value;
        value.get().vt = VT_BSTR;
        value.get().bstrVal = com::CopyText(text).detach();
        cell->put_Value(value.get());
        row->AddItem(cell.query<IQnPSObject>().get());
        rows->AddItem(row.query<IQnPSObject>().get());
    }
    const auto start = Clock::now();
    com::UniqueVariant unique;
    Check(rows->get_UniqueColumnValues(name.get(), &unique.get()), "UniqueColumnValues");
    const double seconds = Seconds(start);
    if (unique.type() != (VT_ARRAY | VT_VARIANT) || unique.get().parray->rgsabound[0].cElements != ULONG(count)) {
        std::fprintf(stderr, "UniqueColumnValues: wrong result\n");
        std::exit(1);
    }
    return seconds;
}

}  // namespace

ComPtr<IQnPropertyStorage> StorageFrom(const char* path) {
    const std::wstring dllPath(path, path + std::strlen(path));
    HMODULE library = ::LoadLibraryW(dllPath.c_str());
    if (!library) {
        std::fprintf(stderr, "cannot load %s\n", path);
        std::exit(1);
    }
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    auto getClassObject = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(::GetProcAddress(library, "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    Check(getClassObject(CLSID_CQnPropStorage, IID_IClassFactory, factory.put_void()), "DllGetClassObject");
    ComPtr<IQnPropertyStorage> storage;
    Check(factory->CreateInstance(nullptr, IID_IQnPropertyStorage, storage.put_void()), "CreateInstance");
    return storage;
}

double WriteIntoEmpty(IQnPropertyStorage* storage, IQnPSTable* table) {
    ComPtr<IStorage> file;
    auto stream = CreateFileStream(L"bench-pair.qnps", file);
    const auto start = Clock::now();
    Check(storage->WriteProperties(stream.get(), table, qnpsWriteNormal), "write into empty");
    const double seconds = Seconds(start);
    stream.reset();
    file.reset();
    ::DeleteFileW(L"bench-pair.qnps");
    return seconds;
}

// This build's write against another's, alternating so that both meet the same load.
void WritesAgainst(IQnPropertyStorage* storage, const char* otherPath, int rows, int columns) {
    auto other = StorageFrom(otherPath);
    auto table = BuildTable(storage, rows, columns), otherTable = BuildTable(other.get(), rows, columns);
    const char* pairs = std::getenv("QNPS_BENCH_WRITES");
    const int repeats = std::max(1, pairs ? std::atoi(pairs) : 5);
    std::vector<double> ratios;
    for (int i = 0; i < repeats; ++i) {
        const double own = WriteIntoEmpty(storage, table.get());
        const double theirs = WriteIntoEmpty(other.get(), otherTable.get());
        ratios.push_back(own / theirs);
        std::printf("write vs other build:   %7.2f s against %.2f s: %.3f x\n", own, theirs, ratios.back());
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("write vs other build:   %.3f x median (%.3f to %.3f over %d pairs)\n", ratios[repeats / 2],
                ratios.front(), ratios.back(), repeats);
}

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: qnps_bench PATH-TO-DLL [ROWS] [COLUMNS]\n");
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const int rows = argc > 2 ? std::atoi(argv[2]) : 100000;
    const int columns = argc > 3 ? std::atoi(argv[3]) : 20;
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);

    ComPtr<IQnPropertyStorage> storage = StorageFrom(argv[1]);
    if (const char* other = std::getenv("QNPS_BENCH_WRITE_AGAINST")) {
        WritesAgainst(storage.get(), other, rows, columns);
        if (std::getenv("QNPS_BENCH_WRITES_ONLY")) return 0;
    }

    std::printf("table: %d rows x %d columns (%d cells)\n", rows, columns, rows * columns);
    {
        // Integer cells keep nothing outside the cell object: what is measured is the cell itself,
        // its slot in the row and its share of the row.
        integersOnly = true;
        const size_t before = PrivateBytes();
        auto table = BuildTable(storage.get(), rows, columns);
        const double perCell = static_cast<double>(PrivateBytes() - before) / (static_cast<double>(rows) * columns);
        std::printf("cost of one cell:       %.0f bytes (integer values, row share included)\n", perCell);
        integersOnly = false;
    }
    const size_t before = PrivateBytes();
    auto start = Clock::now();
    auto table = BuildTable(storage.get(), rows, columns);
    const double buildSeconds = Seconds(start);
    const size_t after = PrivateBytes();
    const double perCell = static_cast<double>(after - before) / (static_cast<double>(rows) * columns);
    std::printf("build in memory:        %7.2f s, %.0f MB private, %.0f bytes per cell (values included)\n",
                buildSeconds, (after - before) / 1048576.0, perCell);

    ComPtr<IStorage> file;
    auto stream = CreateFileStream(L"bench.qnps", file);
    start = Clock::now();
    Check(storage->WriteProperties(stream.get(), table.get(), qnpsWriteNormal), "write into empty stream");
    const double emptyWrite = Seconds(start);
    std::printf("write into empty:       %7.2f s, %.1f MB document\n", emptyWrite, Size(stream.get()) / 1048576.0);

    Rewind(stream.get());
    start = Clock::now();
    Check(storage->WriteProperties(stream.get(), table.get(), qnpsWriteNormal), "merge write");
    const double mergeWrite = Seconds(start);
    std::printf("merge into same table:  %7.2f s (%.2f x the write into empty)\n", mergeWrite,
                mergeWrite / emptyWrite);

    Rewind(stream.get());
    start = Clock::now();
    Check(storage->WriteProperties(stream.get(), table.get(), qnpsOverwrite), "overwrite");
    std::printf("overwrite same table:   %7.2f s (%.2f x the write into empty)\n", Seconds(start),
                Seconds(start) / emptyWrite);

    // The read and the bare client alternate on the same stream, so that both meet the same load on
    // a shared machine; the ratio of each pair is what counts, and more pairs steady the median.
    const char* pairs = std::getenv("QNPS_BENCH_READS");
    const int repeats = std::max(1, pairs ? std::atoi(pairs) : 3);
    std::vector<double> ratios;
    for (int i = 0; i < repeats; ++i) {
        Rewind(stream.get());
        start = Clock::now();
        ComPtr<IQnPSTable> read;
        Check(storage->ReadProperties(stream.get(), read.put()), "read");
        const double readSeconds = Seconds(start);
        read.reset();
        Rewind(stream.get());
        long attributes = 0;
        const double bareSeconds = BareDomRead(stream.get(), &attributes);
        ratios.push_back(readSeconds / bareSeconds);
        std::printf("read back:              %7.2f s; bare DOM load+walk %.2f s (%ld attributes): %.3f x\n",
                    readSeconds, bareSeconds, attributes, ratios.back());
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("read vs bare DOM:       %.3f x median (%.3f to %.3f over %d runs)\n", ratios[repeats / 2],
                ratios.front(), ratios.back(), repeats);
    table.reset();
    stream.reset();
    file.reset();
    ::DeleteFileW(L"bench.qnps");

    const double bare = BareDomWrite(rows, columns, L"bench-bare.qnps");
    ::DeleteFileW(L"bench-bare.qnps");
    std::printf("bare DOM build+save:    %7.2f s (library write into empty is %.2f x)\n", bare, emptyWrite / bare);

    for (int count : {1000, 4000, 16000}) {
        std::printf("UniqueColumnValues:     %7.3f s for %d distinct texts\n",
                    UniqueValuesOfDistinctTexts(storage.get(), count), count);
    }

    storage.reset();
    ::CoUninitialize();
    return 0;
}
