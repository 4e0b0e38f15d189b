// Measures what hosts feel: building a large table in memory (bytes per cell), writing it into an
// empty stream, merging it into a stream that already holds it, and reading it back; and, for
// scale, bare clients of the platform parser doing the same jobs on the same bytes: the merge and
// the read alternate with theirs, and the ratio of each pair is what counts.
//
//   qnps_bench.exe PATH-TO-DLL [ROWS] [COLUMNS]
//   (QNPS_BENCH_MERGES, QNPS_BENCH_READS: merge and read pairs, 5 each by default)
//
// With QNPS_BENCH_WRITE_AGAINST naming another build of the DLL (under another file name), the
// write into an empty stream is also timed against that build's, in alternating pairs
// (QNPS_BENCH_WRITES, 5 by default), each build writing a table it built itself. With
// QNPS_BENCH_READ_AGAINST naming one, each read pair also reads the same bytes with that build.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "QnPropStorage.h"
#include "com/Bstr.h"
#include "com/ComPtr.h"
#include "com/Platform.h"
#include "com/UniqueVariant.h"

#include <psapi.h>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include "xml/Msxml.h"

namespace {

using com::ComPtr;
using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) {
    return std::chrono::duration<double>(Clock::now() - since).count();
}

// The calling thread's processor time, user and kernel (page faults included), in steps of the
// system's clock tick.
double ProcessorSeconds() {
    FILETIME created, exited, kernel, user;
    ::GetThreadTimes(::GetCurrentThread(), &created, &exited, &kernel, &user);
    auto seconds = [](const FILETIME& time) {
        return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime) / 1e7;
    };
    return seconds(kernel) + seconds(user);
}

// A job's wall time and processor time. On a machine shared with other work, a run's wall time
// moves by whole seconds with what else runs; its processor time is the steadier measure of the
// two, and both are given.
struct Span {
    double wall = 0, cpu = 0;
};
class Stopwatch {
public:
    Span Stop() const { return {Seconds(wall_), ProcessorSeconds() - cpu_}; }

private:
    Clock::time_point wall_ = Clock::now();
    double cpu_ = ProcessorSeconds();
};

// The ratios of pairs of runs, wall and processor time, and each side's fastest processor time:
// load from other work only ever adds time, so on a busy machine the fastest runs are the ones
// closest to an idle one.
struct Ratios {
    std::vector<double> wall, cpu;
    double fastest[2] = {1e300, 1e300};
    Span Add(const Span& own, const Span& other) {
        wall.push_back(own.wall / other.wall);
        cpu.push_back(own.cpu / other.cpu);
        fastest[0] = std::min(fastest[0], own.cpu), fastest[1] = std::min(fastest[1], other.cpu);
        return {wall.back(), cpu.back()};
    }
};

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

// The rest of the stream as one byte array (as the library loads it), loaded by a new document.
ComPtr<IXMLDOMDocument> LoadStream(IStream* stream, bool preserveWhiteSpace) {
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
    if (preserveWhiteSpace) document->put_preserveWhiteSpace(VARIANT_TRUE);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    Check(document->load(bytes.get(), &loaded), "load");
    return document;
}

void Next(ComPtr<IXMLDOMNode>& node) {
    ComPtr<IXMLDOMNode> sibling;
    node->get_nextSibling(sibling.put());
    node = std::move(sibling);
}

// The root's child of that name, walked by next sibling.
ComPtr<IXMLDOMNode> Section(IXMLDOMElement* root, const wchar_t* name) {
    ComPtr<IXMLDOMNode> section;
    for (root->get_firstChild(section.put()); section; Next(section)) {
        com::UniqueBstr nodeName;
        section->get_nodeName(nodeName.put());
        if (std::wcscmp(nodeName.get(), name) == 0) break;
    }
    return section;
}

// What a bare DOM client pays to read the document: the stream's bytes as one byte array (as the
// library loads them), a load, the rows walked by next sibling and each row's attributes, name and
// text, walked once through the attribute map (an attribute has no siblings).
Span BareDomRead(IStream* stream, long* attributes) {
    const Stopwatch stopwatch;
    // The document is released inside the timing, as the library's read releases its own.
    {
        auto document = LoadStream(stream, false);
        ComPtr<IXMLDOMElement> root;
        Check(document->get_documentElement(root.put()), "documentElement");
        ComPtr<IXMLDOMNode> section = Section(root.get(), L"Properties");
        *attributes = 0;
        ComPtr<IXMLDOMNode> row;
        if (section) section->get_firstChild(row.put());
        for (; row; Next(row)) {
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
    return stopwatch.Stop();
}

std::wstring Folded(const wchar_t* text) {
    std::wstring folded(text ? text : L"");
    for (wchar_t& c : folded) c = static_cast<wchar_t>(towlower(c));
    return folded;
}

// What a bare DOM client pays to merge the table into the document in the stream: the stream's
// bytes loaded as the library loads them, the old rows indexed by identifier without regard to case
// (the table supplies every value, so that is all it needs of them), the two sections removed and
// built anew from the values the table was built from, the document saved into the stream.
Span BareDomMerge(IStream* stream, int rows, int columns, size_t* indexed) {
    const Stopwatch stopwatch;
    {
        Rewind(stream);
        auto document = LoadStream(stream, true);
        ComPtr<IXMLDOMElement> root;
        Check(document->get_documentElement(root.put()), "documentElement");
        ComPtr<IXMLDOMNode> oldDefinitions = Section(root.get(), L"ColumnDefs");
        ComPtr<IXMLDOMNode> oldProperties = Section(root.get(), L"Properties");
        std::unordered_map<std::wstring, ComPtr<IXMLDOMNode>> oldRows;
        const com::UniqueBstr rowIdName = com::CopyText(L"RowID");
        ComPtr<IXMLDOMNode> oldRow;
        if (oldProperties) oldProperties->get_firstChild(oldRow.put());
        for (; oldRow; Next(oldRow)) {
            const auto element = oldRow.try_query<IXMLDOMElement>();
            com::UniqueVariant id;
            if (!element || element->getAttribute(rowIdName.get(), id.put()) != S_OK || id.type() != VT_BSTR) continue;
            oldRows.emplace(Folded(id.get().bstrVal), oldRow);
        }
        *indexed = oldRows.size();
        for (IXMLDOMNode* section : {oldDefinitions.get(), oldProperties.get()}) {
            ComPtr<IXMLDOMNode> removed;
            if (section) Check(root->removeChild(section, removed.put()), "removeChild");
        }

        auto element = [&](IXMLDOMNode* parent, const wchar_t* name) {
            const com::UniqueBstr tag = com::CopyText(name);
            ComPtr<IXMLDOMElement> created;
            Check(document->createElement(tag.get(), created.put()), "createElement");
            ComPtr<IXMLDOMNode> appended;
            Check(parent->appendChild(created.get(), appended.put()), "appendChild");
            return created;
        };
        std::vector<com::UniqueBstr> names;
        for (int c = 0; c < columns; ++c) {
            wchar_t name[32];
            std::swprintf(name, 32, L"Column%02d", c);
            names.push_back(com::CopyText(name));
        }
        const com::UniqueBstr dispName = com::CopyText(L"DispName"), type = com::CopyText(L"Type"),
                              order = com::CopyText(L"Order");
        auto definitions = element(root.get(), L"ColumnDefs");
        for (int c = 0; c < columns; ++c) {
            auto column = element(definitions.get(), names[c].get());
            column->setAttribute(dispName.get(), com::BorrowedText(names[c].get()));
            if (c % 4 == 1) column->setAttribute(type.get(), com::UniqueVariant::Text(L"INT").get());
            column->setAttribute(order.get(), com::UniqueVariant::Int(c).get());
        }
        auto properties = element(root.get(), L"Properties");
        for (int r = 0; r < rows; ++r) {
            auto row = element(properties.get(), L"Row");
            wchar_t id[32];
            std::swprintf(id, 32, L"ROW-%06d", r);
            row->setAttribute(rowIdName.get(), com::UniqueVariant::Text(id).get());
            for (int c = 0; c < columns; ++c) {
                com::UniqueVariant value = CellValue(r, c);
                if (value.type() != VT_BSTR) ::VariantChangeType(&value.get(), &value.get(), 0, VT_BSTR);
                row->setAttribute(names[c].get(), value.get());
            }
        }
        Rewind(stream);
        Check(stream->SetSize(ULARGE_INTEGER{}), "SetSize");
        Check(document->save(com::UniqueVariant::Unknown(stream).get()), "save");
    }
    return stopwatch.Stop();
}

std::string Content(IStream* stream) {
    Rewind(stream);
    std::string bytes(static_cast<size_t>(Size(stream)), '\0');
    ULONG read = 0;
    stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read);
    bytes.resize(read);
    return bytes;
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

int Repeats(const char* variable) {
    const char* count = std::getenv(variable);
    return std::max(1, count ? std::atoi(count) : 5);
}

void Summarize(const char* label, const Ratios& ratios) {
    if (ratios.wall.empty()) return;
    auto median = [](std::vector<double> values) {
        std::sort(values.begin(), values.end());
        char text[80];
        std::snprintf(text, sizeof text, "%.3f x median (%.3f to %.3f)", values[values.size() / 2], values.front(),
                      values.back());
        return std::string(text);
    };
    std::printf("%s%s processor time, %s wall time, over %zu pairs; fastest runs %.3f x\n", label,
                median(ratios.cpu).c_str(), median(ratios.wall).c_str(), ratios.wall.size(),
                ratios.fastest[0] / ratios.fastest[1]);
}

// One read from the stream's start; the table is released outside the timing.
Span TimedRead(IQnPropertyStorage* storage, IStream* stream) {
    Rewind(stream);
    const Stopwatch stopwatch;
    ComPtr<IQnPSTable> read;
    Check(storage->ReadProperties(stream, read.put()), "read");
    const Span span = stopwatch.Stop();
    read.reset();
    return span;
}

// This build's write against another's, alternating so that both meet the same load.
void WritesAgainst(IQnPropertyStorage* storage, const char* otherPath, int rows, int columns) {
    auto other = StorageFrom(otherPath);
    auto table = BuildTable(storage, rows, columns), otherTable = BuildTable(other.get(), rows, columns);
    std::vector<double> ratios;
    for (int i = 0, repeats = Repeats("QNPS_BENCH_WRITES"); i < repeats; ++i) {
        const double own = WriteIntoEmpty(storage, table.get());
        const double theirs = WriteIntoEmpty(other.get(), otherTable.get());
        ratios.push_back(own / theirs);
        std::printf("write vs other build:   %7.2f s against %.2f s: %.3f x\n", own, theirs, ratios.back());
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("write vs other build:   %.3f x median (%.3f to %.3f over %zu pairs)\n", ratios[ratios.size() / 2],
                ratios.front(), ratios.back(), ratios.size());
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
    // QNPS_BENCH_ONLY=merge or read: the table, its write and those pairs alone.
    const char* only = std::getenv("QNPS_BENCH_ONLY");
    if (!only) {
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

    // Merges and reads alternate with their bare clients on the same stream, so that both meet the
    // same load on a shared machine; the ratio of each pair is what counts, and more pairs steady
    // the median.
    const bool merges = !only || std::strcmp(only, "merge") == 0, reads = !only || std::strcmp(only, "read") == 0;
    Ratios mergeRatios;
    for (int i = 0, repeats = Repeats("QNPS_BENCH_MERGES"); merges && i < repeats; ++i) {
        auto libraryMerge = [&] {
            Rewind(stream.get());
            const Stopwatch stopwatch;
            Check(storage->WriteProperties(stream.get(), table.get(), qnpsWriteNormal), "merge write");
            return stopwatch.Stop();
        };
        size_t indexed = 0;
        // Which of the two goes first alternates too.
        const Span bareFirst = i % 2 ? BareDomMerge(stream.get(), rows, columns, &indexed) : Span();
        const Span merge = libraryMerge();
        const std::string merged = i == 0 ? Content(stream.get()) : std::string();
        const Span bare = i % 2 ? bareFirst : BareDomMerge(stream.get(), rows, columns, &indexed);
        // The yardstick must do the same job: the same document, byte for byte.
        if (i == 0 && Content(stream.get()) != merged) {
            std::fprintf(stderr, "the bare DOM merge saved another document than the library's\n");
            return 1;
        }
        const Span ratio = mergeRatios.Add(merge, bare);
        std::printf("merge into same table:  %7.2f s, %.2f s processor; bare DOM (%zu rows indexed) %.2f s, %.2f s "
                    "processor: %.3f x, %.3f x\n", merge.wall, merge.cpu, indexed, bare.wall, bare.cpu, ratio.wall,
                    ratio.cpu);
    }
    if (merges) Summarize("merge vs bare DOM:      ", mergeRatios);

    if (!only) {
        Rewind(stream.get());
        start = Clock::now();
        Check(storage->WriteProperties(stream.get(), table.get(), qnpsOverwrite), "overwrite");
        std::printf("overwrite same table:   %7.2f s (%.2f x the write into empty)\n", Seconds(start),
                    Seconds(start) / emptyWrite);
    }

    ComPtr<IQnPropertyStorage> other;
    if (const char* otherPath = std::getenv("QNPS_BENCH_READ_AGAINST")) other = StorageFrom(otherPath);
    Ratios readRatios, otherRatios, ownToOther;
    for (int i = 0, repeats = Repeats("QNPS_BENCH_READS"); reads && i < repeats; ++i) {
        long attributes = 0;
        Span read, bare, theirs;
        // Which goes first turns with each pair (with another build, each of the three in turn).
        std::function<void()> runs[] = {[&] { read = TimedRead(storage.get(), stream.get()); },
                                        [&] {
                                            Rewind(stream.get());
                                            bare = BareDomRead(stream.get(), &attributes);
                                        },
                                        [&] { theirs = TimedRead(other.get(), stream.get()); }};
        const int kinds = other ? 3 : 2;
        for (int k = 0; k < kinds; ++k) runs[(i + k) % kinds]();
        const Span ratio = readRatios.Add(read, bare);
        std::printf("read back:              %7.2f s, %.2f s processor; bare DOM load+walk (%ld attributes) %.2f s, "
                    "%.2f s processor: %.3f x, %.3f x\n", read.wall, read.cpu, attributes, bare.wall, bare.cpu,
                    ratio.wall, ratio.cpu);
        if (!other) continue;
        const Span otherRatio = otherRatios.Add(theirs, bare);
        ownToOther.Add(read, theirs);
        std::printf("read back, other build: %7.2f s, %.2f s processor: %.3f x, %.3f x the bare DOM\n", theirs.wall,
                    theirs.cpu, otherRatio.wall, otherRatio.cpu);
    }
    if (reads) Summarize("read vs bare DOM:       ", readRatios);
    if (other) {
        Summarize("other build's read:     ", otherRatios);
        Summarize("read vs other build's:  ", ownToOther);
    }
    other.reset();
    if (only) return 0;
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
