// How cell values and column attributes travel through a document and back, one column type at a
// time, with the exact text the document holds.
#include "persistence/PersistenceSupport.h"

namespace {

using namespace qnps_test;

class ValueEncoding : public PersistenceTest {
protected:
    // One column of the given type and a row R1 holding `value` in it; written into a fresh stream.
    std::string WrittenRow(qnpsPropertyType type, const VARIANT& value, ComPtr<IStream>& stream) {
        auto table = MakeTable();
        auto column = MakeColumn(L"V", type);
        EXPECT_EQ(S_OK, Definitions(table.get())->AddDefinition(column.get()));
        AddRow(table.get(), L"R1", {{column.get(), &value}});
        stream.reset();  // the stream is opened exclusively: replace it only once it is closed
        stream = file_.CreateStream();
        EXPECT_EQ(S_OK, Write(stream.get(), table.get()));
        const std::string text = DocumentText(stream.get());
        const auto start = text.find("<Row ");
        return start == std::string::npos ? text : text.substr(start, text.find("/>", start) + 2 - start);
    }
    UniqueVariant ReadBack(IStream* stream) { return ValueAt(Read(stream).get(), L"R1", L"V"); }

    CompoundFile file_;
};

TEST_F(ValueEncoding, EveryColumnTypeHasItsTextInTheDocument) {
    auto table = MakeTable(L"");
    auto text = MakeColumn(L"S");
    auto number = MakeColumn(L"I", qnpsPropType_Int);
    auto date = MakeColumn(L"D", qnpsPropType_Date);
    auto real = MakeColumn(L"X", qnpsPropType_Double);
    auto flag = MakeColumn(L"B", qnpsPropType_Bool);
    auto definitions = Definitions(table.get());
    for (auto* column : {text.get(), number.get(), date.get(), real.get(), flag.get()}) {
        ASSERT_EQ(S_OK, definitions->AddDefinition(column));
    }
    const auto word = VariantOf(L"text");
    const auto twelve = VariantOf(L"12");
    const auto one = DateOf(1.0);
    const auto twoAndAHalf = VariantOfDouble(2.5);
    const auto yes = BoolOf(true);
    AddRow(table.get(), L"R1",
           {{text.get(), &word.get()}, {number.get(), &twelve.get()}, {date.get(), &one.get()},
            {real.get(), &twoAndAHalf.get()}, {flag.get(), &yes.get()}});
    CompoundFile file;
    auto stream = file.CreateStream();
    ASSERT_EQ(S_OK, Write(stream.get(), table.get()));

    // No Application attribute for an empty application name; the Double column's value is decimal
    // text.
    EXPECT_EQ(std::string(kDeclaration) +
                  "<PropertyStorage Version=\"1.01\"><ColumnDefs>"
                  "<S DispName=\"S\"/><I DispName=\"I\" Type=\"INT\"/><D DispName=\"D\" Type=\"DATE\"/>"
                  "<X DispName=\"X\" Type=\"DOUBLE\"/><B DispName=\"B\" Type=\"BOOL\"/></ColumnDefs>"
                  "<Properties><Row RowID=\"R1\" S=\"text\" I=\"12\" D=\"3FF0000000000000\" X=\"2.5\" B=\"1\"/>"
                  "</Properties></PropertyStorage>",
              DocumentText(stream.get()));

    auto back = Read(stream.get());
    EXPECT_EQ(L"", ApplicationOf(back.get()));
    EXPECT_EQ(L"text", TextAt(back.get(), L"R1", L"S"));
    const auto i = ValueAt(back.get(), L"R1", L"I");
    EXPECT_EQ(VT_I4, i.type());
    EXPECT_EQ(12, i.get().lVal);
    // A date comes back as a plain double.
    const auto d = ValueAt(back.get(), L"R1", L"D");
    EXPECT_EQ(VT_R8, d.type());
    EXPECT_EQ(1.0, d.get().dblVal);
    // The decimal text under a DOUBLE column is too short for the hexadecimal form: 0.0.
    const auto x = ValueAt(back.get(), L"R1", L"X");
    EXPECT_EQ(VT_R8, x.type());
    EXPECT_EQ(0.0, x.get().dblVal);
    qnpsPropertyType type{};
    EXPECT_EQ(S_OK, ColumnOf(back.get(), L"X")->get_PropType(&type));
    EXPECT_EQ(qnpsPropType_Double, type);
    // A boolean comes back as a 16-bit integer, not as VT_BOOL.
    const auto b = ValueAt(back.get(), L"R1", L"B");
    EXPECT_EQ(VT_I2, b.type());
    EXPECT_EQ(-1, b.get().iVal);
}

TEST_F(ValueEncoding, DatesTravelAsTheHexadecimalBitsOfTheirDouble) {
    ComPtr<IStream> stream;
    EXPECT_EQ("<Row RowID=\"R1\" V=\"3FE0000000000000\"/>", WrittenRow(qnpsPropType_Date, DateOf(0.5).get(), stream));
    auto value = ReadBack(stream.get());
    EXPECT_EQ(VT_R8, value.type());
    EXPECT_EQ(0.5, value.get().dblVal);
    // A double is converted to a date first; a negative date keeps its sign bit.
    EXPECT_EQ("<Row RowID=\"R1\" V=\"C000000000000000\"/>",
              WrittenRow(qnpsPropType_Date, VariantOfDouble(-2.0).get(), stream));
    value = ReadBack(stream.get());
    EXPECT_EQ(-2.0, value.get().dblVal);
}

TEST_F(ValueEncoding, IntValuesAreConvertedToIntegers) {
    ComPtr<IStream> stream;
    EXPECT_EQ("<Row RowID=\"R1\" V=\"12\"/>", WrittenRow(qnpsPropType_Int, VariantOf(L"12").get(), stream));
    auto value = ReadBack(stream.get());
    EXPECT_EQ(VT_I4, value.type());
    EXPECT_EQ(12, value.get().lVal);
    EXPECT_EQ("<Row RowID=\"R1\" V=\"-7\"/>", WrittenRow(qnpsPropType_Int, VariantOfDouble(-7.0).get(), stream));
    EXPECT_EQ(-7, ReadBack(stream.get()).get().lVal);
}

TEST_F(ValueEncoding, BoolCountsOnlyTheSixteenBitsOfABooleanField) {
    ComPtr<IStream> stream;
    EXPECT_EQ("<Row RowID=\"R1\" V=\"0\"/>", WrittenRow(qnpsPropType_Bool, BoolOf(false).get(), stream));
    auto value = ReadBack(stream.get());
    EXPECT_EQ(VT_I2, value.type());
    EXPECT_EQ(0, value.get().iVal);
    // The value is not converted: 65536 has nothing in its low 16 bits, 1 has.
    EXPECT_EQ("<Row RowID=\"R1\" V=\"0\"/>", WrittenRow(qnpsPropType_Bool, VariantOf(65536L).get(), stream));
    EXPECT_EQ("<Row RowID=\"R1\" V=\"1\"/>", WrittenRow(qnpsPropType_Bool, VariantOf(1L).get(), stream));
}

TEST_F(ValueEncoding, StringColumnsWriteAnyValueAsText) {
    ComPtr<IStream> stream;
    EXPECT_EQ("<Row RowID=\"R1\" V=\"42\"/>", WrittenRow(qnpsPropType_String, VariantOf(42L).get(), stream));
    auto value = ReadBack(stream.get());
    EXPECT_EQ(VT_BSTR, value.type());
    EXPECT_EQ(L"42", Text(value.get().bstrVal));
    // A type the format does not know is written without "Type", as text.
    EXPECT_EQ("<Row RowID=\"R1\" V=\"3\"/>",
              WrittenRow(static_cast<qnpsPropertyType>(7), VariantOf(3L).get(), stream));
}

TEST_F(ValueEncoding, MarkupCharactersAndNonAsciiTextSurvive) {
    const wchar_t* tricky = L"a & b < c > d \"e\" 'f' \u00e9\u20ac";
    ComPtr<IStream> stream;
    WrittenRow(qnpsPropType_String, VariantOf(tricky).get(), stream);
    auto value = ReadBack(stream.get());
    ASSERT_EQ(VT_BSTR, value.type());
    EXPECT_EQ(tricky, Text(value.get().bstrVal));
}

TEST_F(ValueEncoding, EmptyAndNullValuesHaveNoAttribute) {
    ComPtr<IStream> stream;
    EXPECT_EQ("<Row RowID=\"R1\"/>", WrittenRow(qnpsPropType_Int, NullValue().get(), stream));
    EXPECT_EQ(VT_EMPTY, ReadBack(stream.get()).type());
    EXPECT_EQ("<Row RowID=\"R1\"/>", WrittenRow(qnpsPropType_String, UniqueVariant().get(), stream));
    // An empty text is a value: it is written.
    EXPECT_EQ("<Row RowID=\"R1\" V=\"\"/>", WrittenRow(qnpsPropType_String, VariantOf(L"").get(), stream));
}

TEST_F(ValueEncoding, ARowWithoutIdentifierIsWrittenWithAnEmptyOne) {
    CompoundFile file;
    auto stream = file.CreateStream();
    auto table = MakeTable(L"Drafting");
    auto column = MakeColumn(L"V");
    EXPECT_EQ(S_OK, Definitions(table.get())->AddDefinition(column.get()));
    const auto value = VariantOf(L"x");
    AddRow(table.get(), nullptr, {{column.get(), &value.get()}});
    ASSERT_EQ(S_OK, Write(stream.get(), table.get()));
    EXPECT_NE(std::string::npos, DocumentText(stream.get()).find("<Row RowID=\"\" V=\"x\"/>"));
    // Present though empty, the identifier keeps the row when it is read back.
    long count = 0;
    EXPECT_EQ(S_OK, Rows(Read(stream.get()).get())->get_Count(&count));
    EXPECT_EQ(1, count);
}

TEST_F(ValueEncoding, ColumnAttributesRoundTrip) {
    auto table = MakeTable(L"Drafting");
    auto shown = MakeColumn(L"Shown", qnpsPropType_Bool, 5);
    ASSERT_EQ(S_OK, shown->put_DispName(Bstr(L"Shown to users").get()));
    ASSERT_EQ(S_OK, shown->put_Direction(qnpsPropDirection_ToDocument));
    auto plain = MakeColumn(L"Plain", qnpsPropType_Date, -3);
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(shown.get()));
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(plain.get()));
    CompoundFile file;
    auto stream = file.CreateStream();
    ASSERT_EQ(S_OK, Write(stream.get(), table.get()));
    EXPECT_EQ(Document("<ColumnDefs><Shown DispName=\"Shown to users\" Direction=\"ToDocument\" Type=\"BOOL\" "
                       "Order=\"5\"/><Plain DispName=\"Plain\" Type=\"DATE\"/></ColumnDefs><Properties/>"),
              DocumentText(stream.get()));

    auto back = Read(stream.get());
    EXPECT_EQ(L"Drafting", ApplicationOf(back.get()));
    auto column = ColumnOf(back.get(), L"Shown");
    UniqueBstr dispName;
    qnpsPropertyDirection direction{};
    long order = 0;
    EXPECT_EQ(S_OK, column->get_DispName(dispName.put()));
    EXPECT_EQ(S_OK, column->get_Direction(&direction));
    EXPECT_EQ(S_OK, column->get_Order(&order));
    EXPECT_EQ(L"Shown to users", Text(dispName.get()));
    EXPECT_EQ(qnpsPropDirection_ToDocument, direction);
    EXPECT_EQ(5, order);
    // A negative order is not written and reads back as a new column's default.
    EXPECT_EQ(S_OK, ColumnOf(back.get(), L"Plain")->get_Order(&order));
    EXPECT_EQ(-1, order);
}

TEST_F(ValueEncoding, WritingLeavesItsMarkOnTheTable) {
    auto table = MakeTable();
    auto real = MakeColumn(L"Real", qnpsPropType_Double);
    auto date = MakeColumn(L"Date", qnpsPropType_Date);
    ASSERT_EQ(S_OK, date->put_DispName(Bstr(L"Made on").get()));
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(real.get()));
    ASSERT_EQ(S_OK, Definitions(table.get())->AddDefinition(date.get()));
    CompoundFile file;
    auto stream = file.CreateStream();
    ASSERT_EQ(S_OK, Write(stream.get(), table.get()));

    qnpsPropertyType type{};
    EXPECT_EQ(S_OK, real->get_PropType(&type));
    EXPECT_EQ(qnpsPropType_String, type);
    EXPECT_EQ(S_OK, date->get_PropType(&type));
    EXPECT_EQ(qnpsPropType_Date, type);
    UniqueBstr name;
    EXPECT_EQ(S_OK, real->get_DispName(name.put()));
    EXPECT_EQ(L"Real", Text(name.get()));
    EXPECT_EQ(S_OK, date->get_DispName(name.put()));
    EXPECT_EQ(L"Made on", Text(name.get()));
    // So a second write of the same table no longer says DOUBLE.
    ASSERT_EQ(S_OK, Write(stream.get(), table.get(), qnpsOverwrite));
    EXPECT_NE(std::string::npos, DocumentText(stream.get()).find("<Real DispName=\"Real\"/>"));
}

}  // namespace
