// A JScript host building and querying a property table through dispatch alone.
// ctest runs it joined after lib/Checks.js, which holds the checks and the closing line.

var E_INVALIDARG = -2147024809;              // 0x80070057
var QNPS_E_UNKNOWNOBJECTTYPE = -2147188735;  // 0x80048001
var TYPE_E_ELEMENTNOTFOUND = -2147319765;    // 0x8002802B
var DISP_E_TYPEMISMATCH = -2147352571;       // 0x80020005
var E_NOINTERFACE = -2147467262;             // 0x80004002

// Collections answer in insertion order; the enumerator must give the same order.
function listed(collection, pick) {
    var out = [];
    for (var e = new Enumerator(collection); !e.atEnd(); e.moveNext())
        out.push(pick(e.item()));
    return out.join(",");
}

var storage = null, defs, rows, table;
section("server", function () { storage = WScript.CreateObject("QnPropStorage.CQnPropStorage"); });
if (storage === null) WScript.Quit(1);

function column(name, propType, order) {
    var def = storage.CreateQnPSObject(4);
    def.Name = name;
    def.PropType = propType;
    def.Order = order;
    defs.AddDefinition(def);
    return def;
}

// Cells are given as name, value pairs; an undefined value leaves the cell empty.
function addRow(id, cells) {
    var row = storage.CreateQnPSObject(7);
    row.RowID = id;
    for (var i = 0; i < cells.length; i += 2) {
        var cell = storage.CreateQnPSObject(2);
        cell.ColumnDef = defs.ColumnDef(cells[i]);
        if (cells[i + 1] !== undefined) cell.Value = cells[i + 1];
        row.AddItem(cell);
    }
    rows.AddItem(row);
    return row;
}

section("creation", function () {
    same(storage.Type, 3, "storage Type");
    var types = [1, 2, 4, 5, 6, 7, 8];
    for (var i = 0; i < types.length; i++)
        same(storage.CreateQnPSObject(types[i]).Type, types[i], "Type of object " + types[i]);
    fails(function () { return storage.CreateQnPSObject(0); }, QNPS_E_UNKNOWNOBJECTTYPE, "create 0");
    fails(function () { return storage.CreateQnPSObject(3); }, QNPS_E_UNKNOWNOBJECTTYPE, "create 3");
    // Out of range is no error: the host simply gets no object.
    same(storage.CreateQnPSObject(9), null, "create 9");
    same(storage.CreateQnPSObject(-1), null, "create -1");
});

section("building", function () {
    table = storage.CreateQnPSObject(5);
    defs = storage.CreateQnPSObject(6);
    rows = storage.CreateQnPSObject(8);
    var fresh = storage.CreateQnPSObject(4);
    same(fresh.PropType, 0, "new definition PropType");
    same(fresh.Direction, 0, "new definition Direction");
    same(fresh.Hidden, false, "new definition Hidden");
    same(fresh.Order, -1, "new definition Order");

    column("Layout", 0, 2);
    column("TabOrder", 1, 0);
    var title = column("Title", 0, -1);
    column("Size", 3, 2);
    column("Part_No", 0, -1);
    title.DispName = "Document title";
    title.Hidden = true;
    title.Direction = 2;

    addRow("R1", ["Layout", "Sheet1", "TabOrder", 2, "Title", "B", "Size", 2.5]);
    addRow("R2", ["Layout", "SHEET1", "TabOrder", 5, "Title", "a"]);
    addRow("R3", ["Layout", "Model", "TabOrder", "7", "Title", "B", "Size", null]);
    addRow("R4", ["Layout", undefined, "Title", undefined]);
    addRow("R5", ["Layout", 3, "TabOrder", 9, "Title", null]);
    addRow("r1", ["Title", "A", "Layout", "Sheet1"]);

    table.ColumnDefs = defs;
    table.Rows = rows;
    table.Application = "Drafting";
    same(table.Type, 5, "table Type");
    same(table.Application, "Drafting", "Application");
    same(table.Rows.Count, 6, "table Rows Count");
});

section("column definitions", function () {
    same(defs.Count, 5, "definitions Count");
    same(defs.LowBound, 0, "definitions LowBound");
    same(listed(defs, function (d) { return d.Name; }), "Layout,TabOrder,Title,Size,Part_No",
         "definitions in order");
    same(defs.ColumnDef("part_no").Name, "Part_No", "ColumnDef ignores case");
    same(defs.ColumnDef("Missing"), null, "ColumnDef of an unknown name");
    var title = defs.ColumnDef("TITLE");
    same(title.DispName, "Document title", "DispName");
    same(title.Hidden, true, "Hidden");
    same(title.Direction, 2, "Direction");
    same(defs.Item(1).PropType, 1, "PropType of TabOrder");

    var probe = storage.CreateQnPSObject(4);
    probe.Name = "title";
    same(defs.HasDefinition(probe), true, "HasDefinition of another case");
    defs.AddDefinition(probe);
    same(defs.Count, 5, "AddDefinition of a duplicate adds nothing");
    probe.Name = "Nowhere";
    same(defs.HasDefinition(probe), false, "HasDefinition of an unknown name");

    fails(function () { probe.Name = null; return probe.Name; }, DISP_E_TYPEMISMATCH, "Name put null");
    same(probe.Name, "Nowhere", "Name kept after a refused put");

    same(listed(table.GetColumnDefs(1), function (d) { return d.Name; }), "TabOrder,Layout,Size",
         "ordered definitions");
    same(listed(table.GetColumnDefs(2), function (d) { return d.Name; }), "Title,Part_No",
         "unordered definitions");
    same(listed(table.GetColumnDefs(7), function (d) { return d.Name; }), "Title,Part_No",
         "selection 7 is unordered");
    // All hands out the table's own collection: adding through it changes the table.
    var all = table.GetColumnDefs(3);
    all.AddItem(probe);
    same(defs.Count, 6, "GetColumnDefs(3) is the table's collection");
    fails(function () { return defs.Remove(6); }, E_INVALIDARG, "Remove(Count)");
    same(defs.Count, 6, "Count after a refused Remove");
    defs.Remove(5);
    same(defs.Count, 5, "Count after Remove");
    same(defs.Item(4).Name, "Part_No", "last definition after Remove");
});

section("rows", function () {
    same(rows.Count, 6, "rows Count");
    same(rows.LowBound, 0, "rows LowBound");
    same(rows.Item(0).RowID, "R1", "Item(0)");
    same(rows(4).RowID, "R5", "default member");
    fails(function () { return rows.Item(-1); }, E_INVALIDARG, "Item(-1)");
    fails(function () { return rows.Item(6); }, E_INVALIDARG, "Item(Count)");
    fails(function () { return rows.Remove(6); }, E_INVALIDARG, "rows Remove(Count)");
    same(rows.Count, 6, "rows Count after a refused Remove");
    same(listed(rows, function (r) { return r.RowID; }), "R1,R2,R3,R4,R5,r1", "rows in order");
    same(listed(rows.Item(0), function (c) { return c.ColumnDef.Name; }),
         "Layout,TabOrder,Title,Size", "cells in order");

    same(rows.RowByID("r1").Item(0).Value, "Sheet1", "RowByID ignores case, first wins");
    same(rows.RowByID("Absent"), null, "RowByID of an unknown id");
    // Values compare with case and type, unlike names and RowIDs.
    same(rows.Row("Layout", "Sheet1").RowID, "R1", "Row by Sheet1");
    same(rows.Row("layout", "SHEET1").RowID, "R2", "Row by SHEET1");
    same(rows.Row("Layout", "sheet1"), null, "Row by sheet1");
    same(rows.Row("Layout", 3).RowID, "R5", "Row by the integer 3");
    same(rows.Row("Layout", "3"), null, "Row by the text 3");
    same(rows.Row("Title", null).RowID, "R5", "Row by null");

    var r2 = rows.Item(1);
    same(r2.Property("TABORDER").Value, 5, "row Property");
    same(r2.Property("Size"), null, "row Property of a missing cell");
    same(table.Property("r2", "title").Value, "a", "table Property");
    same(table.Property("R1", "Title").Value, "B", "table Property takes the first R1");
    same(table.Property("R9", "Title"), null, "table Property of an unknown row");
    same(table.Property("R2", "Nope"), null, "table Property of an unknown column");
});

section("arrays", function () {
    sameArray(rows.ColumnValues("Size"), [2.5, undefined, null, undefined, undefined, undefined],
              "ColumnValues Size");
    sameArray(rows.ColumnValues("layout"), ["Sheet1", "SHEET1", "Model", undefined, 3, "Sheet1"],
              "ColumnValues Layout");
    sameArray(rows.UniqueColumnValues("Title"), ["B", "a", "A"], "UniqueColumnValues Title");
    check(isEmptyValue(rows.UniqueColumnValues("Nope")), "UniqueColumnValues of a missing column is Empty");
    sameArray(table.LayoutsNames, ["Sheet1", "SHEET1", "Model", 3], "LayoutsNames");

    same(table.TabOrderByLayoutName("sheet1"), 2, "TabOrder of sheet1");
    same(table.TabOrderByLayoutName("SHEET1"), 2, "TabOrder of SHEET1 is the first row's");
    same(table.TabOrderByLayoutName("3"), 9, "TabOrder of a layout held as a number");
    same(table.TabOrderByLayoutName("Model"), -1, "TabOrder held as text");
    same(table.TabOrderByLayoutName("None"), -1, "TabOrder of an unknown layout");
    fails(function () { return table.TabOrderByLayoutName(""); }, E_INVALIDARG, "TabOrder of an empty name");

    var bare = storage.CreateQnPSObject(5);
    check(isEmptyValue(bare.LayoutsNames), "LayoutsNames without rows is Empty");
    same(bare.GetColumnDefs(1), null, "GetColumnDefs without definitions");
    same(bare.TabOrderByLayoutName("Sheet1"), -1, "TabOrder without rows");
});

section("custom properties", function () {
    table.CustomProperty("Owner") = "drafting";
    table.CustomProperty("Owner") = "office";
    same(table.CustomProperty("Owner"), "office", "custom property keeps the last value");
    rows.Item(0).CustomProperty("Seen") = 5;
    same(rows.Item(0).CustomProperty("Seen"), 5, "custom property on a row");
    fails(function () { return table.CustomProperty("Absent"); }, TYPE_E_ELEMENTNOTFOUND,
          "custom property never put");
});

section("narrowing", function () {
    var cell = storage.CreateQnPSObject(2);
    cell.ColumnDef = defs.ColumnDef("Part_No");
    cell.Value = "P-1";
    var row = storage.CreateQnPSObject(7);
    row.AddItem(cell);
    same(row.Property("part_no").Value, "P-1", "cell found before narrowing");
    // Script meets the dispatcher's type check first; the narrowing by type is what C++ sees.
    fails(function () { cell.ColumnDef = row; }, E_NOINTERFACE, "ColumnDef put with a row");
    same(cell.ColumnDef.Name, "Part_No", "ColumnDef kept after a row was refused");
    same(row.Property("Part_No").Value, "P-1", "cell found after the refusal");
    fails(function () { table.Rows = defs; }, E_NOINTERFACE, "Rows put with definitions");
    same(table.Rows.Count, 6, "Rows kept after definitions were refused");
    fails(function () { table.ColumnDefs = rows; }, E_NOINTERFACE, "ColumnDefs put with rows");
    fails(function () { table.ColumnDefs = storage.CreateQnPSObject(1); }, E_NOINTERFACE,
          "ColumnDefs put with a plain collection");
    same(table.GetColumnDefs(3).Count, 5, "ColumnDefs kept after the refusals");
});

finish();
