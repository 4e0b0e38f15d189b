// A JScript host building and querying a property table through dispatch alone. The fuller script
// client: the model's rules that the C++ suites prove in depth are seen here once, from script.

var E_INVALIDARG = -2147024809;              // 0x80070057
var QNPS_E_UNKNOWNOBJECTTYPE = -2147188735;  // 0x80048001
var TYPE_E_ELEMENTNOTFOUND = -2147319765;    // 0x8002802B
var DISP_E_TYPEMISMATCH = -2147352571;       // 0x80020005
var E_NOINTERFACE = -2147467262;             // 0x80004002

function names(defs) { return listed(defs, function (d) { return d.Name; }); }

// A server that cannot be made ends the script before its closing line, which fails the test.
var storage = WScript.CreateObject("QnPropStorage.CQnPropStorage"), table, defs, rows;

section("creating", function () {
    same(storage.CreateQnPSObject(8).Type, 8, "Type of a row collection");
    fails(function () { return storage.CreateQnPSObject(3); }, QNPS_E_UNKNOWNOBJECTTYPE, "type 3");
    // Out of range is no error: the host simply gets no object.
    same(storage.CreateQnPSObject(9), null, "create 9");

    table = makeTable(storage, "Drafting",
        ["Layout", 0, 0, 2, "TabOrder", 1, 0, 0, "Title", 0, 0, -1, "Size", 3, 0, 2,
         "Part_No", 0, 0, -1],
        [["R1", "Layout", "Sheet1", "TabOrder", 2, "Title", "B", "Size", 2.5],
         ["R2", "Layout", "SHEET1", "TabOrder", 5, "Title", "a"],
         ["R3", "Layout", "Model", "TabOrder", "7", "Title", "B", "Size", null],
         ["R4", "Layout", undefined, "Title", undefined],
         ["R5", "Layout", 3, "TabOrder", 9, "Title", null],
         ["r1", "Title", "A", "Layout", "Sheet1"]]);
    defs = table.GetColumnDefs(3);
    rows = table.Rows;
    same(table.Application, "Drafting", "Application");
});

section("column definitions", function () {
    same(names(defs), "Layout,TabOrder,Title,Size,Part_No", "definitions in order");
    same(defs.ColumnDef("part_no").Name, "Part_No", "ColumnDef ignores case");
    same(defs.ColumnDef("Missing"), null, "ColumnDef of an unknown name");

    var probe = storage.CreateQnPSObject(4);
    probe.Name = "title";
    same(defs.HasDefinition(probe), true, "HasDefinition of another case");
    probe.Name = "Nowhere";
    fails(function () { probe.Name = null; return probe.Name; }, DISP_E_TYPEMISMATCH, "Name null");
    same(probe.Name, "Nowhere", "Name kept after a refused put");

    same(names(table.GetColumnDefs(1)), "TabOrder,Layout,Size", "ordered definitions");
    same(names(table.GetColumnDefs(2)), "Title,Part_No", "unordered definitions");
    fails(function () { return defs.Remove(5); }, E_INVALIDARG, "Remove(Count)");
});

section("rows", function () {
    same(rows(4).RowID, "R5", "default member");
    fails(function () { return rows.Item(-1); }, E_INVALIDARG, "Item(-1)");
    same(listed(rows, function (r) { return r.RowID; }), "R1,R2,R3,R4,R5,r1", "rows in order");
    same(listed(rows.Item(0), function (c) { return c.ColumnDef.Name; }),
         "Layout,TabOrder,Title,Size", "cells in order");
    same(rows.RowByID("r1").Item(0).Value, "Sheet1", "RowByID ignores case, first wins");
    // Values compare with case and type, unlike names and RowIDs.
    same(rows.Row("layout", "SHEET1").RowID, "R2", "Row by SHEET1, not Sheet1");
    same(rows.Row("Layout", 3).RowID, "R5", "Row by the integer 3");
    same(rows.Row("Layout", "3"), null, "Row by the text 3");
    same(rows.Row("Title", null).RowID, "R5", "Row by null");
    same(rows.Item(1).Property("TABORDER").Value, 5, "row Property");
    same(table.Property("r2", "title").Value, "a", "table Property");
    same(table.Property("R1", "Title").Value, "B", "table Property takes the first R1");
});

section("arrays", function () {
    sameArray(rows.ColumnValues("Size"), [2.5, undefined, null, undefined, undefined, undefined],
              "ColumnValues Size");
    sameArray(rows.UniqueColumnValues("Title"), ["B", "a", "A"], "UniqueColumnValues Title");
    same(rows.UniqueColumnValues("Nope"), undefined, "UniqueColumnValues of a missing column");
    sameArray(table.LayoutsNames, ["Sheet1", "SHEET1", "Model", 3], "LayoutsNames");
    same(table.TabOrderByLayoutName("SHEET1"), 2, "TabOrder of SHEET1 is the first row's");
    same(table.TabOrderByLayoutName("3"), 9, "TabOrder of a layout held as a number");
    fails(function () { return table.TabOrderByLayoutName(""); }, E_INVALIDARG, "TabOrder of \"\"");

    same(storage.CreateQnPSObject(5).LayoutsNames, undefined, "LayoutsNames without rows");
});

section("custom properties", function () {
    fails(function () { return table.CustomProperty("Owner"); }, TYPE_E_ELEMENTNOTFOUND,
          "custom property of an object without any");
    table.CustomProperty("Owner") = "office";
    same(table.CustomProperty("Owner"), "office", "custom property");
    fails(function () { return table.CustomProperty("Absent"); }, TYPE_E_ELEMENTNOTFOUND,
          "custom property never put");
});

// Script meets the dispatcher's type check first; the narrowing by type is what C++ sees.
section("object arguments", function () {
    var cell = rows.Item(0).Property("Title");
    fails(function () { cell.ColumnDef = rows.Item(1); }, E_NOINTERFACE, "ColumnDef put a row");
    same(rows.Item(0).Property("title").Value, "B", "cell linked after the refusal");
    fails(function () { table.Rows = defs; }, E_NOINTERFACE, "Rows put with definitions");
    same(table.Rows.Count, 6, "Rows kept after the refusals");
    same(table.GetColumnDefs(3).Count, 5, "ColumnDefs kept after the refusals");
});

finish();
