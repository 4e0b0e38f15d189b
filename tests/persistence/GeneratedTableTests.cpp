// Tables drawn by a seeded generator, written as hosts write them: into an empty stream, merged
// over the good document that left, and with qnpsOverwrite. After every S_OK the stream reads back
// as what was written (the Double quirk, ToDocument columns and left-out names aside); after every
// refusal its bytes are as they were. Names and texts come from all of Unicode, with what XML
// cannot carry over-represented. QNPS_GENERATED_TABLES sets the number of tables (a million on
// demand) and QNPS_GENERATED_SEED the first seed; a failure names its seed.
#include <array>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <random>
#include <set>

#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

// Whether the library must write a column of the name, must leave it out, or may do either (a name
// drawn from all of Unicode: the strict parsers of the schema check judge those that are written).
enum class NameKind { kWritable, kRefused, kEither };

struct Column {
    std::wstring name, dispName;
    NameKind kind;
    qnpsPropertyType type;
    qnpsPropertyDirection direction;
    bool hidden;
    long order;
};
struct Cell {
    size_t column;
    UniqueVariant value;
};
struct Row {
    std::wstring id;
    std::vector<Cell> cells;
};
struct Table {
    std::wstring application;
    std::vector<Column> columns;
    std::vector<Row> rows;
};

// XML 1.0's characters, counted by the text's length.
bool Carriable(const std::wstring& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        const bool pair = c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (pair) ++i;
        if (!pair && c != 0x9 && c != 0xA && c != 0xD && (c < 0x20 || c > 0xFFFD || (c >= 0xD800 && c <= 0xDFFF))) return false;
    }
    return true;
}
std::wstring Folded(std::wstring name) {
    for (wchar_t& c : name) c = static_cast<wchar_t>(std::towlower(c));
    return name;
}
// Setters of names and identifiers copy up to the first NUL.
std::wstring UpToNul(const std::wstring& text) { return text.substr(0, text.find(L'\0')); }
std::wstring TextOf(const VARIANT& value) { return std::wstring(value.bstrVal, com::BstrLength(value.bstrVal)); }
bool IsText(qnpsPropertyType t) {
    return t != qnpsPropType_Int && t != qnpsPropType_Date && t != qnpsPropType_Bool && t != qnpsPropType_Double;
}
// A value as its type and exact content, texts by their length and doubles bit for bit.
std::wstring Exactly(const VARIANT& value) {
    std::wstring key = std::to_wstring(value.vt) + L":";
    if (value.vt == VT_BSTR) return key + TextOf(value);
    long long bits = 0;
    std::memcpy(&bits, &value.dblVal, sizeof bits);
    if (value.vt == VT_R8) return key + std::to_wstring(bits);
    return key + (value.vt == VT_I4 ? std::to_wstring(value.lVal) : value.vt == VT_I2 ? std::to_wstring(value.iVal) : L"");
}

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed), hazard_(std::array<double, 3>{0.0, 0.005, 0.03}[Pick(3)]) {}

    // A second table of the same host takes most of the first's columns and rows, names in any case,
    // and the types the old document gives them, so that carried values read back as they were.
    Table MakeTable(const Table* old = nullptr, IQnPSTable* oldRead = nullptr) {
        Table table;
        const wchar_t* applications[] = {L"Drafting", L"DRAFTING", L"", L"Office"};
        table.application = Chance(0.1) ? UpToNul(Text(6)) : applications[Pick(4)];
        for (const Column& earlier : old ? old->columns : std::vector<Column>()) {
            if (earlier.kind != NameKind::kWritable || !Chance(0.7)) continue;
            table.columns.push_back(NewColumn(table.columns, Chance(0.3) ? Toggled(earlier.name) : earlier.name));
        }
        for (size_t i = Pick(5); i > 0; --i) table.columns.push_back(NewColumn(table.columns));
        for (Column& column : table.columns) column.type = ReadType(oldRead, column.name, column.type);
        for (size_t i = Pick(6); i > 0; --i) {
            Row row;
            if (old && !old->rows.empty() && Chance(0.6)) {
                row.id = old->rows[Pick(old->rows.size())].id;
                if (Chance(0.3)) row.id = Toggled(row.id);
            } else {
                row.id = Chance(0.1) ? Text(8) : Chance(0.05) ? L"" : L"R" + std::to_wstring(Pick(8));
            }
            for (size_t c = 0; c < table.columns.size(); ++c) {
                for (int cells = Chance(0.8) + Chance(0.05); cells > 0; --cells) row.cells.push_back({c, Value(table.columns[c])});
            }
            if (Chance(0.2)) std::shuffle(row.cells.begin(), row.cells.end(), random_);
            table.rows.push_back(std::move(row));
        }
        return table;
    }
    bool Chance(double p) { return std::uniform_real_distribution<double>(0, 1)(random_) < p; }

private:
    size_t Pick(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random_); }
    wchar_t AnyCharacter() {
        const auto c = static_cast<wchar_t>(0x20 + Pick(0xFFFE - 0x20));
        return c >= 0xD800 && c <= 0xDFFF ? L'x' : c;
    }
    std::wstring Text(size_t maxLength, bool hazards = true) {
        static const wchar_t kHazards[] = {0x0, 0x1, 0x8, 0xB, 0xC, 0xE, 0x1F, 0xFFFE, 0xFFFF, 0xD800, 0xDBFF, 0xDC00};
        static const std::wstring kPlain = L"abcXYZ 019-_.&<>\"'=;\t\n\r\u00e4\u00f6\u00df\u00c9\u540d\u03a9\u0436\u20ac";
        std::wstring text;
        for (size_t length = Chance(0.02) ? 300 + Pick(3000) : Pick(maxLength + 1); text.size() < length;) {
            if (hazards && Chance(hazard_)) {
                text += kHazards[Pick(std::size(kHazards))];
            } else if (Chance(0.2)) {
                text += AnyCharacter();
            } else if (Chance(0.1)) {
                text += {static_cast<wchar_t>(0xD800 + Pick(0x400)), static_cast<wchar_t>(0xDC00 + Pick(0x400))};
            } else {
                text += kPlain[Pick(kPlain.size())];
            }
        }
        return text;
    }
    std::wstring Toggled(std::wstring name) {
        for (wchar_t& c : name) {
            if (Chance(0.5)) c = static_cast<wchar_t>(std::iswupper(c) ? std::towlower(c) : std::towupper(c));
        }
        return name;
    }
    static qnpsPropertyType ReadType(IQnPSTable* oldRead, const std::wstring& name, qnpsPropertyType type) {
        ComPtr<IQnPSColumnDefCollection> all;
        ComPtr<IQnPSColumnDef> column;
        if (oldRead) oldRead->GetColumnDefs(qnpsDefinitions_All, all.put());
        if (all) all->get_ColumnDef(Bstr(name.c_str()).get(), column.put());
        if (column) column->get_PropType(&type);
        return type;
    }
    Column NewColumn(const std::vector<Column>& earlier, std::wstring reused = L"") {
        static const wchar_t* const kWritable[] = {L"Gr\u00f6\u00dfe", L"\u03a9mega", L"\u540d\u524d", L"Properties",
                                                   L"ColumnDefs", L"Row", L"PropertyStorage", L"_x", L"a.b-c",
                                                   L"xml1", L"\u00c9t\u00e9\u0301"};
        static const wchar_t* const kRefused[] = {L"Drawing No.", L"Sheet Size", L"1st", L"a/b", L"a:b", L"xmlns",
                                                  L"XMLNS", L"RowID", L"rowid", L"-x", L".x", L"", L"a\u0001",
                                                  L"a\uFFFF", L"\u00b7x", L"a\u00d7b", L"x\u1200", L"\U0001F600"};
        Column column{};
        const size_t kind = reused.empty() ? Pick(10) : 9;
        if (kind == 0) {
            column.name = kWritable[Pick(std::size(kWritable))], column.kind = NameKind::kWritable;
        } else if (kind == 1) {
            column.name = kRefused[Pick(std::size(kRefused))], column.kind = NameKind::kRefused;
        } else if (kind == 2 && !earlier.empty()) {
            column.name = Toggled(earlier[Pick(earlier.size())].name);
        } else if (kind == 3) {
            column.name = {AnyCharacter(), AnyCharacter(), AnyCharacter()}, column.kind = NameKind::kEither;
        } else {
            column.name = reused.empty() ? L"C" + std::to_wstring(Pick(40)) : reused, column.kind = NameKind::kWritable;
        }
        // A twin takes the kind of the earlier column of its name.
        for (const Column& other : earlier) {
            if (Folded(other.name) == Folded(column.name)) column.kind = other.kind;
        }
        column.type = static_cast<qnpsPropertyType>(std::array<int, 6>{0, 1, 2, 3, 4, 7}[Pick(6)]);
        column.direction = static_cast<qnpsPropertyDirection>(Pick(4));
        // Whether an unsure name is written decides nothing else: its texts are always carriable.
        column.dispName = Chance(0.3) ? L"" : Text(12, column.kind != NameKind::kEither);
        column.hidden = Chance(0.2);
        column.order = Chance(0.5) ? static_cast<long>(Pick(10)) : -1 - static_cast<long>(Pick(3));
        return column;
    }
    UniqueVariant Value(const Column& column) {
        UniqueVariant value;
        if (Chance(0.17)) value.put()->vt = Chance(0.3) ? VT_NULL : VT_EMPTY;
        else if (column.type == qnpsPropType_Int) value = UniqueVariant::Int(static_cast<long>(random_()));
        else if (column.type == qnpsPropType_Double) value = UniqueVariant::Double(std::uniform_real_distribution<double>(-1e6, 1e6)(random_));
        else if (column.type == qnpsPropType_Bool) value = UniqueVariant::Bool(Chance(0.5));
        else if (column.type == qnpsPropType_Date) {
            value.put()->vt = VT_DATE;
            value.get().date = std::uniform_real_distribution<double>(-600000, 2900000)(random_);
        } else {
            const std::wstring text = Text(40, column.kind != NameKind::kEither);
            value = UniqueVariant::Text(UniqueBstr(::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))));
        }
        return value;
    }

    std::mt19937 random_;
    double hazard_;
};

class GeneratedTables : public PersistenceTest {
protected:
    ComPtr<IQnPSTable> Build(const Table& table) {
        auto built = MakeTable(table.application.c_str());
        std::vector<ComPtr<IQnPSColumnDef>> columns;
        for (const Column& column : table.columns) {
            columns.push_back(MakeColumn(column.name.c_str(), column.type, column.order));
            columns.back()->put_Direction(column.direction);
            columns.back()->put_Hidden(column.hidden ? VARIANT_TRUE : VARIANT_FALSE);
            columns.back()->put_DispName(Bstr(column.dispName.c_str()).get());
            Definitions(built.get())->AddItem(columns.back().get());
        }
        for (const Row& row : table.rows) {
            auto made = MakeRow(row.id.c_str());
            for (const Cell& cell : row.cells) made->AddItem(MakeCell(columns[cell.column].get(), cell.value.get()).get());
            Rows(built.get())->AddItem(made.get());
        }
        return built;
    }
    // The columns the library writes, in order: the first of each name, when the name is one. What
    // it did with an unsure name is learnt from the table read back.
    static std::vector<const Column*> Written(const Table& table, IQnPSTable* read) {
        std::vector<const Column*> written;
        std::set<std::wstring> names;
        for (const Column& column : table.columns) {
            ComPtr<IQnPSColumnDefCollection> all;
            ComPtr<IQnPSColumnDef> found;
            if (column.kind == NameKind::kEither && read) read->GetColumnDefs(qnpsDefinitions_All, all.put());
            if (all) all->get_ColumnDef(Bstr(column.name.c_str()).get(), found.put());
            UniqueBstr name;
            const bool writes = column.kind == NameKind::kWritable ||
                                (found && found->get_Name(name.put()) == S_OK && Text(name.get()) == column.name);
            if (writes && names.insert(Folded(column.name)).second) written.push_back(&column);
        }
        return written;
    }
    // The first cell of the column in the row that the write takes, or null.
    static const Cell* Supplied(const Table& table, const Row& row, const Column& column, long flags) {
        if (!(flags & qnpsSkipDirection) && column.direction == qnpsPropDirection_ToDocument) return nullptr;
        for (const Cell& cell : row.cells) {
            if (&table.columns[cell.column] == &column) return &cell;
        }
        return nullptr;
    }
    // Whether every text the document would carry is carriable.
    static bool Carriable(const Table& table, long flags, bool newDocument) {
        bool carriable = !newDocument || ::Carriable(table.application);
        const auto written = Written(table, nullptr);
        for (const Column* column : written) carriable = carriable && ::Carriable(UpToNul(column->dispName));
        for (const Row& row : table.rows) {
            carriable = carriable && ::Carriable(UpToNul(row.id));
            for (const Column* column : written) {
                const Cell* cell = Supplied(table, row, *column, flags);
                if (cell && IsText(column->type) && cell->value.type() == VT_BSTR) {
                    carriable = carriable && ::Carriable(TextOf(cell->value.get()));
                }
            }
        }
        return carriable;
    }
    // What a value of the column reads back as; false where the Double quirk makes it anything.
    static bool ReadBackAs(const Column& column, const VARIANT& value, UniqueVariant& expected) {
        if (value.vt == VT_EMPTY || value.vt == VT_NULL) expected = UniqueVariant();
        else if (column.type == qnpsPropType_Int) expected = UniqueVariant::Int(value.lVal);
        else if (column.type == qnpsPropType_Date) expected = UniqueVariant::Double(value.date);
        else if (column.type == qnpsPropType_Bool) expected = UniqueVariant::Short(value.boolVal != 0 ? -1 : 0);
        else if (column.type == qnpsPropType_Double) return false;
        else expected = UniqueVariant::Text(UniqueBstr(com::CopyBstrBytes(value.bstrVal)));
        return true;
    }

    // The stream reads back as `table`, with values the table does not supply from `old`.
    void ExpectReadBack(IStream* stream, const Table& table, long flags, IQnPSTable* old) {
        auto read = Read(stream);
        ASSERT_TRUE(read);
        const auto written = Written(table, read.get());
        std::wstring names;
        for (const Column* column : written) {
            names += (names.empty() ? L"" : L",") + column->name;
            const std::wstring dispName = UpToNul(column->dispName).empty() ? column->name : UpToNul(column->dispName);
            const wchar_t* types[] = {L"STRING", L"INT", L"DATE", L"DOUBLE", L"BOOL"};
            const wchar_t* directions[] = {L"Any", L"ToDocument", L"FromDocument", L"Any"};
            EXPECT_EQ(dispName + L"," + (IsText(column->type) ? L"STRING" : types[column->type]) + L"," +
                          directions[column->direction] + L"," + std::to_wstring(std::max(column->order, -1L)) +
                          (column->hidden ? L",hidden" : L",shown"),
                      ColumnText(read.get(), column->name.c_str()));
        }
        EXPECT_EQ(names, ColumnNames(Definitions(read.get()).get()));
        auto rows = Rows(read.get());
        ASSERT_EQ(written.empty() ? 0 : static_cast<long>(table.rows.size()), CountOf(rows.get()));
        ComPtr<IQnPSRowCollection> oldRows;
        if (old) old->get_Rows(oldRows.put());
        for (long r = 0; r < CountOf(rows.get()); ++r) {
            const Row& row = table.rows[static_cast<size_t>(r)];
            auto readRow = ItemOf(rows.get(), r).query<IQnPSRow>();
            UniqueBstr id;
            readRow->get_RowID(id.put());
            EXPECT_EQ(UpToNul(row.id), Text(id.get()));
            // The first old row of the identifier, without case.
            ComPtr<IQnPSRow> oldRow;
            if (oldRows && !row.id.empty()) oldRows->get_RowByID(Bstr(row.id.c_str()).get(), oldRow.put());
            for (const Column* column : written) {
                ComPtr<IQnPSProperty> cell, oldCell;
                UniqueVariant value, expected;
                readRow->get_Property(Bstr(column->name.c_str()).get(), cell.put());
                ASSERT_TRUE(cell);
                cell->get_Value(value.put());
                const Cell* supplied = Supplied(table, row, *column, flags);
                if (!supplied && oldRow) oldRow->get_Property(Bstr(column->name.c_str()).get(), oldCell.put());
                if (oldCell) oldCell->get_Value(expected.put());
                if (!supplied || ReadBackAs(*column, supplied->value.get(), expected)) {
                    EXPECT_EQ(Exactly(expected.get()), Exactly(value.get())) << "row " << r << " column " << testing::PrintToString(column->name);
                }
            }
        }
    }
    void ExpectRefused(HRESULT hr, IStream* stream, const std::string& before) {
        ++refused_;
        EXPECT_EQ(kWriteXmlError, hr);
        EXPECT_EQ(before, StreamBytes(stream)) << "a refused write changed the stream";
        ComPtr<IErrorInfo> record;
        UniqueBstr description;
        if (::GetErrorInfo(0, record.put()) == S_OK && record) record->GetDescription(description.put());
        EXPECT_NE(std::wstring::npos, Text(description.get()).find(L"which a property document cannot carry"));
    }
    HRESULT WriteSampled(IStream* stream, IQnPSTable* table, long flags, bool keep) {
        if (keep) return Write(stream, table, flags);
        Rewind(stream);
        return storage_->WriteProperties(stream, table, flags);
    }

    // One seed: a fresh write, a merge over it, an overwrite.
    void RunSeed(unsigned seed, bool keep) {
        Generator generator(seed);
        const Table first = generator.MakeTable();
        const long freshFlags = generator.Chance(0.3) ? qnpsSkipDirection : 0;
        auto stream = file_.CreateStream();
        HRESULT hr = WriteSampled(stream.get(), Build(first).get(), freshFlags, keep);
        if (!Carriable(first, freshFlags, true)) return ExpectRefused(hr, stream.get(), "");
        ASSERT_EQ(S_OK, hr);
        ExpectReadBack(stream.get(), first, freshFlags, nullptr);
        ++written_;

        auto old = Read(stream.get());
        const Table second = generator.MakeTable(&first, old.get());
        const long mergeFlags = generator.Chance(0.3) ? qnpsSkipDirection : 0;
        std::string before = StreamBytes(stream.get());
        hr = WriteSampled(stream.get(), Build(second).get(), mergeFlags, keep);
        UniqueBstr oldApplication;
        old->get_Application(oldApplication.put());
        if (!com::IsEmptyBstr(oldApplication.get()) && !second.application.empty() &&
            _wcsicmp(oldApplication.get(), second.application.c_str()) != 0) {
            EXPECT_EQ(kWrongApplication, hr);
            EXPECT_EQ(before, StreamBytes(stream.get()));
        } else if (!Carriable(second, mergeFlags, false)) {
            ExpectRefused(hr, stream.get(), before);
        } else {
            ASSERT_EQ(S_OK, hr);
            ExpectReadBack(stream.get(), second, mergeFlags, old.get());
            ++merged_;
        }

        before = StreamBytes(stream.get());
        hr = WriteSampled(stream.get(), Build(second).get(), qnpsOverwrite, keep);
        if (!Carriable(second, qnpsOverwrite, false)) return ExpectRefused(hr, stream.get(), before);
        ASSERT_EQ(S_OK, hr);
        ExpectReadBack(stream.get(), second, qnpsOverwrite, nullptr);
        ++written_;
    }

    unsigned long written_ = 0, merged_ = 0, refused_ = 0;
};

TEST_F(GeneratedTables, ReadBackAsWrittenOrRefusedWithTheStreamUnchanged) {
    const auto setting = [](const char* name, unsigned long fallback) {
        const char* text = std::getenv(name);
        return text && *text ? std::strtoul(text, nullptr, 10) : fallback;
    };
    const unsigned long first = setting("QNPS_GENERATED_SEED", 1), count = setting("QNPS_GENERATED_TABLES", 1500);
    for (unsigned long seed = first; seed < first + count && !HasFailure(); ++seed) {
        // Every 40th table's documents go to the strict parsers of the schema check.
        RunSeed(static_cast<unsigned>(seed), seed % 40 == 0);
        if (HasFailure()) ADD_FAILURE() << "generated table of seed " << seed;
        if (count >= 100000 && seed % 10000 == 0) std::printf("seed %lu\n", seed), std::fflush(stdout);
    }
    std::printf("%lu tables: %lu written and read back, %lu merged and read back, %lu refused\n", count, written_,
                merged_, refused_);
}

}  // namespace
