// A JScript host keeping a property table in a stream of a compound file, as document hosts do:
// write, read back, merge into the earlier document, and the refusals a host has to expect.

var QNPS_E_WRONGXMLFILE = -2147188733;      // 0x80048003
var QNPS_E_EMPTYCOLLECTION = -2147188732;   // 0x80048004
var QNPS_E_WRONGAPPLICATION = -2147188731;  // 0x80048005
var QNPS_E_STREAMISREADONLY = -2147188730;  // 0x80048006
var ToDocument = 1, FromDocument = 2, String_ = 0, Int = 1, Date_ = 2, Double_ = 3, Bool = 4;
var ISSUED = 45356.25;  // 2024-03-05 06:00, written as the 8 bytes 40E6258800000000
var ROOT = '<PropertyStorage Version="1.01" Application="Drafting">';

// A server that cannot be made ends the script before its closing line, which fails the test.
var storage = WScript.CreateObject("QnPropStorage.CQnPropStorage");
var streams = WScript.CreateObject("QnPropStorageTest.Streams");
var fso = WScript.CreateObject("Scripting.FileSystemObject");
var path = fso.BuildPath(fso.GetSpecialFolder(2).Path, "qnps_persistence_js.stg"), stream, written;

function readBack() {
    streams.Rewind(stream);
    return storage.ReadProperties(stream);
}

function rowIDs(table) { return listed(table.Rows, function (r) { return r.RowID; }); }

section("new document", function () {
    stream = streams.CreateFileStream(path, "Properties");
    fails(function () { return storage.ReadProperties(stream); }, QNPS_E_WRONGXMLFILE,
          "read of an empty stream");
    var table = makeTable(storage, "Drafting",
        ["Title", String_, FromDocument, 0, "Sheets", Int, 0, 1, "Issued", Date_, 0, -1,
         "Checked", Bool, 0, -1, "Scale", Double_, 0, -1, "Note", String_, ToDocument, -1],
        [["R1", "Title", "Caf\u00e9 roof", "Sheets", 3, "Issued", ISSUED, "Checked", true,
          "Scale", 2.5, "Note", "first"],
         ["R2", "Title", "Roof", "Checked", false, "Note", "n2"]]);
    table.GetColumnDefs(3).ColumnDef("Title").DispName = "Drawing title";
    // Skipping the direction puts the ToDocument column in too.
    storage.WriteProperties(stream, table, 2);

    written = streams.StreamText(stream);
    contains(written, ROOT, "root");
    contains(written, '<Row RowID="R1" Title="Caf\u00e9 roof" Sheets="3" ' +
             'Issued="40E6258800000000" Checked="1" Scale="2.5" Note="first"/>', "row R1");
});

section("reading back", function () {
    var table = readBack(), defs = table.GetColumnDefs(3);
    same(rowIDs(table), "R1,R2", "rows by Enumerator");
    same(listed(defs, function (d) { return d.Name; }), "Title,Sheets,Issued,Checked,Scale,Note",
         "columns by Enumerator");
    same(defs.ColumnDef("Title").DispName, "Drawing title", "Title DispName");
    same(defs.ColumnDef("Title").Direction, FromDocument, "Title Direction");
    same(table.Property("R1", "Title").Value, "Caf\u00e9 roof", "String value");
    same(table.Property("R1", "Sheets").Value, 3, "Int value");
    // Dates come back as plain doubles, booleans as 16-bit integers: the document's own types.
    same(table.Property("R1", "Issued").Value, ISSUED, "Date value");
    same(table.Property("R1", "Checked").Value, -1, "Bool value true");
    same(table.Property("R2", "Checked").Value, 0, "Bool value false");
    // Written as decimal text under DOUBLE, read as hexadecimal: the value is lost on purpose.
    same(table.Property("R1", "Scale").Value, 0, "Double value");
    same(table.Property("R1", "Note").Value, "first", "ToDocument value");
    same(table.Property("R2", "Sheets").Value, undefined, "R2 has a Sheets cell without a value");
});

section("merge", function () {
    stream = streams.OpenFileStream(path, "Properties", false);
    var table = makeTable(storage, "drafting",
        ["Title", String_, 0, -1, "Sheets", Int, 0, -1, "Issued", Date_, 0, -1,
         "Checked", Bool, 0, -1, "Note", String_, ToDocument, -1],
        [["R1", "Title", "First floor", "Checked", false, "Note", "second"]]);
    storage.WriteProperties(stream, table, 0);
    written = streams.StreamText(stream);
    // The root of an existing document is never rewritten.
    contains(written, ROOT, "merged root");
    check(written.indexOf('RowID="R2"') < 0 && written.indexOf("<Scale") < 0,
          "dropped row and column gone from the document");

    var merged = readBack();
    same(rowIDs(merged), "R1", "rows after the merge");
    same(merged.Property("R1", "Title").Value, "First floor", "new value");
    same(merged.Property("R1", "Sheets").Value, 3, "Int carried over");
    same(merged.Property("R1", "Issued").Value, ISSUED, "Date carried over");
    same(merged.Property("R1", "Checked").Value, 0, "Bool replaced");
    same(merged.Property("R1", "Note").Value, "first", "ToDocument value kept");
});

section("refusals", function () {
    var office = makeTable(storage, "Office", ["Title", String_, 0, -1], [["R9", "Title", "x"]]);
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

    streams.SetStreamText(stream, '<PropertyStorage Version="1.0"><ColumnDefs/></PropertyStorage>');
    fails(function () { return storage.ReadProperties(stream); }, QNPS_E_EMPTYCOLLECTION,
          "document without Properties");
    streams.Close();
    fso.DeleteFile(path);
});

finish();
