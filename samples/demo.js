// A host's round trip through QnPropStorage, late-bound from JScript:
// build a table, write it into a stream of a compound file, read it back, merge a changed table
// into the same stream and read the result.
//
//   cscript //nologo demo.js PATH-OF-COMPOUND-FILE
var storage = WScript.CreateObject("QnPropStorage.CQnPropStorage");
var streams = WScript.CreateObject("QnPropStorageTest.Streams");
var path = WScript.Arguments.length > 0 ? WScript.Arguments(0) : "demo.qnps";

var OBJ_PROPERTY = 2, OBJ_COLUMNDEF = 4, OBJ_TABLE = 5, OBJ_COLUMNDEFS = 6, OBJ_ROW = 7, OBJ_ROWS = 8;
var TYPE_STRING = 0, TYPE_INT = 1;
var DIRECTION_FROM_DOCUMENT = 2;

function column(table, name, type, order, caption) {
    var c = storage.CreateQnPSObject(OBJ_COLUMNDEF);
    c.Name = name;
    c.PropType = type;
    c.Order = order;
    if (caption) c.DispName = caption;
    table.GetColumnDefs(3).AddDefinition(c);
    return c;
}

function row(table, id, cells) {
    var r = storage.CreateQnPSObject(OBJ_ROW);
    r.RowID = id;
    for (var i = 0; i < cells.length; i++) {
        var p = storage.CreateQnPSObject(OBJ_PROPERTY);
        p.ColumnDef = cells[i][0];
        p.Value = cells[i][1];
        r.AddItem(p);
    }
    table.Rows.AddItem(r);
}

function newTable() {
    var t = storage.CreateQnPSObject(OBJ_TABLE);
    t.ColumnDefs = storage.CreateQnPSObject(OBJ_COLUMNDEFS);
    t.Rows = storage.CreateQnPSObject(OBJ_ROWS);
    t.Application = "Drafting";
    return t;
}

function show(title, table) {
    WScript.Echo(title + " (application " + table.Application + ")");
    var names = [];
    for (var e = new Enumerator(table.GetColumnDefs(1)); !e.atEnd(); e.moveNext()) names.push(e.item().Name);
    for (var r = new Enumerator(table.Rows); !r.atEnd(); r.moveNext()) {
        var line = "  " + r.item().RowID + ":";
        for (var i = 0; i < names.length; i++) {
            var cell = r.item().Property(names[i]);
            var value = cell ? cell.Value : undefined;
            line += " " + names[i] + "=" + (value === undefined ? "(empty)" : value);
        }
        WScript.Echo(line);
    }
    var layouts = table.LayoutsNames;
    if (layouts !== undefined) WScript.Echo("  layouts: " + new VBArray(layouts).toArray().join(", "));
}

// The first table: two sheets of a drawing.
var table = newTable();
var title = column(table, "Title", TYPE_STRING, 0, "Drawing title");
title.Direction = DIRECTION_FROM_DOCUMENT;
var sheets = column(table, "Sheets", TYPE_INT, 1);
var layout = column(table, "Layout", TYPE_STRING, 2);
row(table, "R1", [[title, "Ground floor"], [sheets, 3], [layout, "Plan"]]);
row(table, "R2", [[title, "Roof"], [layout, "Section"]]);

var stream = streams.CreateFileStream(path, "Properties");
storage.WriteProperties(stream, table, 0);
WScript.Echo("Document written:");
WScript.Echo(streams.StreamText(stream));

streams.Rewind(stream);
show("Read back", storage.ReadProperties(stream));

// A host that knows only titles writes again: the sheet counts and layouts of R1 are carried over
// from the stream, R2 is gone, R3 is new.
var changed = newTable();
var title2 = column(changed, "Title", TYPE_STRING, 0, "Drawing title");
column(changed, "Sheets", TYPE_INT, 1);
column(changed, "Layout", TYPE_STRING, 2);
row(changed, "R1", [[title2, "Ground floor, revised"]]);
row(changed, "R3", [[title2, "Cellar"]]);
streams.Rewind(stream);
storage.WriteProperties(stream, changed, 0);

streams.Rewind(stream);
show("After the merge", storage.ReadProperties(stream));
