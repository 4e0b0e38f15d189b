// A script that keeps a property table in the stream its host hands it, late-bound from JScript:
// build a table, write it, read it back, merge a table that supplies titles only, meet the two
// refusals a host must expect, and read the stream as the next host finds it.
//
//   cscript //nologo host.js PATH-OF-COMPOUND-FILE
//
// A failing call raises an error; the script then stops before its last line, which says "done".

var qnpsObjType_QnPSProperty = 2, qnpsObjType_ColumnDef = 4, qnpsObjType_Table = 5,
    qnpsObjType_ColumnDefCollection = 6, qnpsObjType_Row = 7, qnpsObjType_RowCollection = 8;
var qnpsPropType_String = 0, qnpsPropType_Int = 1, qnpsPropType_Date = 2, qnpsPropType_Bool = 4;
var qnpsPropDirection_ToDocument = 1, qnpsPropDirection_FromDocument = 2;
var qnpsDefinitions_Ordered = 1, qnpsDefinitions_All = 3;
var qnpsWriteNormal = 0;
var QNPS_E_WRONGAPPLICATION = 0x80048005, QNPS_E_STREAMISREADONLY = 0x80048006;

// ---- The host ----------------------------------------------------------------------------------
// A document host hands its scripts the stream of the document's properties (an IStream) through
// its own object model. The Windows Script Host has none, so the sample helper
// QnPropStorageSample.Streams (samples/helper, registered as samples/README says; not part of the
// library) plays the host here: it opens the stream "Properties" of a compound file, keeps the file
// open while the stream is in use, and moves the stream back to its start, which script cannot do;
// it also shows the stream's content as text. ReadProperties reads from the stream's position, so
// hosts hand streams over at their start.
var path = WScript.Arguments.length > 0 ? WScript.Arguments(0) : "host.qnps";

// Says why the sample cannot go on and ends it with exit code 1. The message goes to standard
// error where the script host has one; Wine's has none, so there it goes to standard output.
function stop(why, error) {
    var text = "host.js: " + why + (error ? " (0x" + (error.number >>> 0).toString(16).toUpperCase() + ")" : "");
    try { WScript.StdErr.WriteLine(text); } catch (e) { WScript.Echo(text); }
    WScript.Quit(1);
}

function create(progId, remedy) {
    try { return WScript.CreateObject(progId); } catch (e) { stop(progId + " cannot be created: " + remedy, e); }
}

var storage = create("QnPropStorage.CQnPropStorage", "register QnPropStorage.dll (samples/README)");
var host = create("QnPropStorageSample.Streams", "register samples\\QnPropStorageSampleStreams.dll (samples/README)");

function hostStream(readOnly) {
    try {
        return readOnly ? host.OpenFileStream(path, "Properties", true) : host.CreateFileStream(path, "Properties");
    } catch (e) {
        stop("cannot open the stream \"Properties\" of " + path, e);
    }
}

function rewind(stream) {
    host.Rewind(stream);
    return stream;
}

// ---- Building a table ------------------------------------------------------------------------
var columns = [["Title", qnpsPropType_String], ["Sheets", qnpsPropType_Int], ["Issued", qnpsPropType_Date],
               ["Checked", qnpsPropType_Bool], ["Layout", qnpsPropType_String]];

// A table of `application` with the columns above, the first one with a caption and a direction.
function newTable(application) {
    var table = storage.CreateQnPSObject(qnpsObjType_Table);
    table.ColumnDefs = storage.CreateQnPSObject(qnpsObjType_ColumnDefCollection);
    table.Rows = storage.CreateQnPSObject(qnpsObjType_RowCollection);
    table.Application = application;
    var definitions = table.GetColumnDefs(qnpsDefinitions_All);  // the table's own collection
    for (var i = 0; i < columns.length; i++) {
        var column = storage.CreateQnPSObject(qnpsObjType_ColumnDef);
        column.Name = columns[i][0];
        column.PropType = columns[i][1];
        column.Order = i;
        definitions.AddDefinition(column);
    }
    definitions.ColumnDef("Title").DispName = "Drawing title";
    definitions.ColumnDef("Title").Direction = qnpsPropDirection_FromDocument;
    return table;
}

// Appends a row `id` with a cell for each name, value pair.
function addRow(table, id, cells) {
    var row = storage.CreateQnPSObject(qnpsObjType_Row);
    row.RowID = id;
    for (var i = 0; i < cells.length; i += 2) {
        var cell = storage.CreateQnPSObject(qnpsObjType_QnPSProperty);
        cell.ColumnDef = table.GetColumnDefs(qnpsDefinitions_All).ColumnDef(cells[i]);
        cell.Value = cells[i + 1];
        row.AddItem(cell);
    }
    table.Rows.AddItem(row);
}

// ---- Showing a table -------------------------------------------------------------------------
function two(n) { return (n < 10 ? "0" : "") + n; }

var DAY = 86400000, DAY_ZERO = Date.UTC(1899, 11, 30);

// A date as automation counts it, days since 1899-12-30: a Date column takes this number and the
// library converts it as it writes. (getVarDate would give a date variant, but Wine's JScript
// lacks it.)
function days(year, month, day, hour, minute) {
    return (Date.UTC(year, month - 1, day, hour, minute) - DAY_ZERO) / DAY;
}

// A value as this host shows it. The document gives back its own types: a date as the number of
// days since 1899-12-30 (VT_R8, not a date), a Bool as -1 or 0 (VT_I2, not a boolean).
function valueText(value, type) {
    if (value === undefined) return "(empty)";
    if (type == qnpsPropType_Bool) return value != 0 ? "yes" : "no";
    if (type == qnpsPropType_Date) {
        var d = new Date(DAY_ZERO + Math.round(value * DAY));
        return d.getUTCFullYear() + "-" + two(d.getUTCMonth() + 1) + "-" + two(d.getUTCDate()) + " " +
               two(d.getUTCHours()) + ":" + two(d.getUTCMinutes());
    }
    return String(value);
}

var typeNames = ["String", "Int", "Date", "Double", "Bool"];

function show(title, table) {
    WScript.Echo(title + ", application " + table.Application);
    // The ordered selection: columns with an order of 0 or more, by order.
    for (var e = new Enumerator(table.GetColumnDefs(qnpsDefinitions_Ordered)); !e.atEnd(); e.moveNext()) {
        var c = e.item();
        WScript.Echo("  column " + c.Name + ' "' + c.DispName + '" ' + typeNames[c.PropType] +
                     (c.Direction == qnpsPropDirection_FromDocument ? " FromDocument" :
                      c.Direction == qnpsPropDirection_ToDocument ? " ToDocument" : ""));
    }
    for (var r = new Enumerator(table.Rows); !r.atEnd(); r.moveNext()) {
        var row = r.item(), line = "  " + row.RowID + ":";
        for (var i = 0; i < columns.length; i++) {
            // A row read from a document has a cell for every column; one without value is empty.
            var cell = row.Property(columns[i][0]);
            line += (i == 0 ? " " : "; ") + columns[i][0] + "=" +
                    valueText(cell ? cell.Value : undefined, columns[i][1]);
        }
        WScript.Echo(line);
    }
    // The distinct values of the column "Layout", an array; nothing when no row has one.
    var layouts = table.LayoutsNames;
    WScript.Echo("  layouts: " + (layouts === undefined ? "" : new VBArray(layouts).toArray().join(", ")));
}

// A refusal the host expects: anything else, success included, stops the script.
function expectRefusal(write, expected, name, what) {
    try {
        write();
    } catch (e) {
        if ((e.number >>> 0) != expected) throw e;
        WScript.Echo(what + " is refused: " + name + " (0x" + expected.toString(16).toUpperCase() + ")");
        return;
    }
    throw new Error(what + " was accepted, expected " + name);
}

// ---- The script's steps ----------------------------------------------------------------------
var stream = hostStream(false);

// The first table: two sheets of a drawing, one value of each type in R1.
var table = newTable("Drafting");
addRow(table, "R1", ["Title", "Ground floor", "Sheets", 3, "Issued", days(2024, 3, 5, 6, 0),
                     "Checked", true, "Layout", "Plan"]);
addRow(table, "R2", ["Title", "Roof", "Checked", false, "Layout", "Section"]);
storage.WriteProperties(rewind(stream), table, qnpsWriteNormal);
// The parser ends the declaration's line as its platform does: shown without line ends.
WScript.Echo("Wrote rows R1 and R2:");
WScript.Echo("  " + host.StreamText(stream).replace(/[\r\n]/g, ""));
show("Read back", storage.ReadProperties(rewind(stream)));

// A script that knows only titles writes again. qnpsWriteNormal carries the values it does not
// supply over from the stream, by row identifier: R1 keeps its sheets, date, check and layout;
// R2, which the table lacks, is gone; R3 is new.
var titles = newTable("Drafting");
addRow(titles, "R1", ["Title", "Ground floor, revised"]);
addRow(titles, "R3", ["Title", "Cellar"]);
storage.WriteProperties(rewind(stream), titles, qnpsWriteNormal);
WScript.Echo("Merged a table that supplies titles only");

// The stream holds a table of Drafting: another application's table is refused and nothing is
// written (qnpsOverwrite would write over it).
expectRefusal(function () { storage.WriteProperties(rewind(stream), newTable("Survey"), qnpsWriteNormal); },
              QNPS_E_WRONGAPPLICATION, "QNPS_E_WRONGAPPLICATION", "A table of another application");

// The stream as the next host finds it, opened for reading only.
stream = hostStream(true);
show("After the merge", storage.ReadProperties(rewind(stream)));
expectRefusal(function () { storage.WriteProperties(rewind(stream), titles, qnpsWriteNormal); },
              QNPS_E_STREAMISREADONLY, "QNPS_E_STREAMISREADONLY", "A stream opened for reading");

WScript.Echo("QnPropStorage sample: done");
