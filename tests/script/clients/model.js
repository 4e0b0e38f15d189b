// What the dispatcher and JScript add to the members the C++ suites prove: the type library's argument
// types, the default member, variant arrays, error numbers.
var storage = WScript.CreateObject("QnPropStorage.CQnPropStorage");
var table = storage.CreateQnPSObject(5), defs = storage.CreateQnPSObject(6);
var rows = storage.CreateQnPSObject(8), columns = ["Layout", "Title", "Size"];
for (var c = 0; c < columns.length; c++) {
    var def = storage.CreateQnPSObject(4);
    def.Name = columns[c];
    defs.AddDefinition(def);
}
// A row's id, then its cells' values by column; undefined leaves a cell without one.
var data = [["R1", "Sheet1", "B", 2.5], ["R2", "SHEET1", "a"], ["R3", 3, "B", null], ["R4", undefined]];
for (var r = 0; r < data.length; r++) {
    var row = storage.CreateQnPSObject(7);
    row.RowID = data[r][0];
    for (c = 1; c < data[r].length; c++) {
        var cell = storage.CreateQnPSObject(2);
        cell.ColumnDef = defs.Item(c - 1);
        if (data[r][c] !== undefined) cell.Value = data[r][c];
        row.AddItem(cell);
    }
    rows.AddItem(row);
}
table.ColumnDefs = defs;
table.Rows = rows;

checkAll([
    ["CreateQnPSObject(3)", "error 0x80048001", function () { return storage.CreateQnPSObject(3); }],
    ["Item as the default member", '"R3"', function () { return rows(2).RowID; }],
    ["Item(-1)", "error 0x80070057", function () { return rows.Item(-1); }],
    ["ColumnValues", "[2.5,undefined,null,undefined]", function () { return items(rows.ColumnValues("Size")); }],
    ["LayoutsNames", '["Sheet1","SHEET1",3]', function () { return items(table.LayoutsNames); }],
    // The type library's argument types: the dispatcher refuses before the member runs.
    ["ColumnDef put a row", "error 0x80004002", function () { rows(0).Item(0).ColumnDef = rows(1); }],
    ["Rows put definitions", "error 0x80004002", function () { table.Rows = defs; }]
]);
finish();
