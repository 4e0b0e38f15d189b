// A JScript host keeping a property table in a stream of a compound file, as document hosts do:
// write, read back, merge into the earlier document, and the refusals a host has to expect.
// ctest runs it joined after lib/Checks.js, which holds the checks and the closing line.

var QNPS_E_WRONGXMLFILE = -2147188733;      // 0x80048003
var QNPS_E_EMPTYCOLLECTION = -2147188732;   // 0x80048004
var QNPS_E_WRONGAPPLICATION = -2147188731;  // 0x80048005
var QNPS_E_STREAMISREADONLY = -2147188730;  // 0x80048006
var ToDocument = 1, FromDocument = 2;
var String_ = 0, Int = 1, Date_ = 2, Double_ = 3, Bool = 4;
// 2024-03-05 06:00 as an automation date, and its 8 bytes as the document writes them.
var ISSUED = 45356.25, ISSUED_HEX = "40E6258800000000";

var storage = null, streams = null, fso = null, path, stream, written;
section("servers", function () {
    storage = WScript.CreateObject("QnPropStorage.CQnPropStorage");
    streams = WScript.CreateObject("QnPropStorageTest.Streams");
    fso = WScript.CreateObject("Scripting.FileSystemObject");
    path = fso.BuildPath(fso.GetSpecialFolder(2).Path, "qnps_persistence_js.stg");
});
if (storage === null || streams === null || fso === null) WScript.Quit(1);

// Columns are given as name, type, direction, order; cells as row id, then name, value pairs.
function makeTable(application, columns, rowList) {
    var table = storage.CreateQnPSObject(5), defs = storage.CreateQnPSObject(6);
    var rows = storage.CreateQnPSObject(8);
    for (var i = 0; i < columns.length; i += 4) {
        var def = storage.CreateQnPSObject(4);
        def.Name = columns[i];
        def.PropType = columns[i + 1];
        def.Direction = columns[i + 2];
        def.Order = columns[i + 3];
        defs.AddDefinition(def);
    }
    for (var r = 0; r < rowList.length; r++) {
        var row = storage.CreateQnPSObject(7);
        row.RowID = rowList[r][0];
        for (var c = 1; c < rowList[r].length; c += 2) {
            var cell = storage.CreateQnPSObject(2);
            cell.ColumnDef = defs.ColumnDef(rowList[r][c]);
            cell.Value = rowList[r][c + 1];
            row.AddItem(cell);
        }
        rows.AddItem(row);
    }
    table.ColumnDefs = defs;
    table.Rows = rows;
    table.Application = application;
    return table;
}

function readBack() {
    streams.Rewind(stream);
    return storage.ReadProperties(stream);
}

function rowIDs(table) {
    var out = [];
    for (var e = new Enumerator(table.Rows); !e.atEnd(); e.moveNext()) out.push(e.item().RowID);
    return out.join(",");
}

section("new document", function () {
    stream = streams.CreateFileStream(path, "Properties");
    fails(function () { return storage.ReadProperties(stream); }, QNPS_E_WRONGXMLFILE,
          "read of an empty stream");
    var table = makeTable("Drafting",
        ["Title", String_, FromDocument, 0, "Sheets", Int, 0, 1, "Issued", Date_, 0, -1,
         "Checked", Bool, 0, -1, "Scale", Double_, 0, -1, "Note", String_, ToDocument, -1],
        [["R1", "Title", "Caf\u00e9 roof", "Sheets", 3, "Issued", ISSUED, "Checked", true,
          "Scale", 2.5, "Note", "first"],
         ["R2", "Title", "Roof", "Checked", false, "Note", "n2"]]);
    var defs = table.GetColumnDefs(3);
    defs.ColumnDef("Title").DispName = "Drawing title";
    defs.ColumnDef("Sheets").Hidden = true;
    // Skipping the direction puts the ToDocument column in too.
    storage.WriteProperties(stream, table, 2);
    same(defs.ColumnDef("Scale").PropType, String_, "Double column after the write");
    same(defs.ColumnDef("Sheets").DispName, "Sheets", "empty display name after the write");

    written = streams.StreamText(stream);
    contains(written, '<PropertyStorage Version="1.01" Application="Drafting">', "root");
    contains(written, '<Title DispName="Drawing title" Direction="FromDocument" Order="0"/>',
             "Title");
    contains(written, '<Sheets DispName="Sheets" Type="INT" Hidden="1" Order="1"/>', "Sheets");
    contains(written, '<Scale DispName="Scale" Type="DOUBLE"/>', "Scale");
    contains(written, '<Note DispName="Note" Direction="ToDocument"/>', "Note");
    contains(written, '<Row RowID="R1" Title="Caf\u00e9 roof" Sheets="3" Issued="' + ISSUED_HEX +
             '" Checked="1" Scale="2.5" Note="first"/>', "row R1");
    contains(written, '<Row RowID="R2" Title="Roof" Checked="0" Note="n2"/>', "row R2");
});

section("reading back", function () {
    var table = readBack();
    same(table.Application, "Drafting", "Application");
    same(rowIDs(table), "R1,R2", "rows by Enumerator");
    var names = [];
    for (var e = new Enumerator(table.GetColumnDefs(3)); !e.atEnd(); e.moveNext())
        names.push(e.item().Name);
    same(names.join(","), "Title,Sheets,Issued,Checked,Scale,Note", "columns by Enumerator");
    var defs = table.GetColumnDefs(3);
    same(defs.ColumnDef("Title").DispName, "Drawing title", "Title DispName");
    same(defs.ColumnDef("Title").Direction, FromDocument, "Title Direction");
    same(defs.ColumnDef("Title").Order, 0, "Title Order");
    same(defs.ColumnDef("Sheets").Hidden, true, "Sheets Hidden");
    same(defs.ColumnDef("Scale").PropType, Double_, "Scale PropType");
    same(defs.ColumnDef("Note").Direction, ToDocument, "Note Direction");
    same(table.Property("R1", "Title").Value, "Caf\u00e9 roof", "String value");
    same(table.Property("R1", "Sheets").Value, 3, "Int value");
    // Dates come back as plain doubles, booleans as 16-bit integers: the document's own types.
    same(table.Property("R1", "Issued").Value, ISSUED, "Date value");
    same(table.Property("R1", "Checked").Value, -1, "Bool value true");
    same(table.Property("R2", "Checked").Value, 0, "Bool value false");
    // Written as decimal text under DOUBLE, read as hexadecimal: the value is lost on purpose.
    same(table.Property("R1", "Scale").Value, 0, "Double value");
    same(table.Property("R1", "Note").Value, "first", "ToDocument value");
    check(table.Property("R2", "Sheets") !== null, "R2 has a Sheets cell without a value");
    same(typeof table.Property("R2", "Sheets").Value, "undefined", "R2 Sheets value");
});

section("merge", function () {
    stream = streams.OpenFileStream(path, "Properties", false);
    same(streams.StreamText(stream), written, "content after reopening");
    var table = makeTable("drafting",
        ["Title", String_, 0, -1, "Sheets", Int, 0, -1, "Issued", Date_, 0, -1,
         "Checked", Bool, 0, -1, "Note", String_, ToDocument, -1],
        [["R1", "Title", "First floor", "Checked", false, "Note", "second"]]);
    storage.WriteProperties(stream, table, 0);
    var text = streams.StreamText(stream);
    // The root of an existing document is never rewritten.
    contains(text, '<PropertyStorage Version="1.01" Application="Drafting">', "merged root");
    check(text.indexOf('RowID="R2"') < 0, "dropped row gone from the document");
    check(text.indexOf("<Scale") < 0, "dropped column gone from the document");

    var merged = readBack();
    same(rowIDs(merged), "R1", "rows after the merge");
    same(merged.Property("R1", "Title").Value, "First floor", "new value");
    same(merged.Property("R1", "Sheets").Value, 3, "Int carried over");
    same(merged.Property("R1", "Issued").Value, ISSUED, "Date carried over");
    same(merged.Property("R1", "Checked").Value, 0, "Bool replaced");
    same(merged.Property("R1", "Note").Value, "first", "ToDocument value kept");
    same(merged.Property("R1", "Scale"), null, "dropped column");
    same(merged.Rows.RowByID("R2"), null, "dropped row");
    written = text;
});

section("refusals", function () {
    var office = makeTable("Office", ["Title", String_, 0, -1], [["R9", "Title", "Other"]]);
    stream = streams.OpenFileStream(path, "Properties", true);
    fails(function () { storage.WriteProperties(stream, office, 1); }, QNPS_E_STREAMISREADONLY,
          "write into a read-only stream");
    same(readBack().Rows.Count, 1, "a read-only stream reads");

    stream = streams.OpenFileStream(path, "Properties", false);
    fails(function () { storage.WriteProperties(stream, office, 0); }, QNPS_E_WRONGAPPLICATION,
          "write of another application");
    same(streams.StreamText(stream), written, "content after the refusals");
    storage.WriteProperties(stream, office, 1);
    same(rowIDs(readBack()), "R9", "overwrite ignores the application");

    streams.SetStreamText(stream, '<PropertyStorage Version="1.02"><ColumnDefs/><Properties/>' +
                                  '</PropertyStorage>');
    fails(function () { return storage.ReadProperties(stream); }, QNPS_E_WRONGXMLFILE,
          "version 1.02");
    streams.SetStreamText(stream, '<PropertyStorage Version="1.0"><ColumnDefs/></PropertyStorage>');
    fails(function () { return storage.ReadProperties(stream); }, QNPS_E_EMPTYCOLLECTION,
          "document without Properties");
});

section("clean up", function () {
    streams.Close();
    fso.DeleteFile(path);
    same(fso.FileExists(path), false, "file removed");
});

finish();
