// The checks and the table builder every JScript client shares; Join.cmake puts this file in
// front of each client in clients/.

var failures = 0;

// Variants JScript has no type for (an array, a 64-bit integer, a stream) refuse even typeof.
function show(v) {
    try {
        if (typeof v == "string") return '"' + v + '"';
        return v != null && typeof v == "object" ? "an object" : typeof v + " " + String(v);
    } catch (e) {
        return "a variant JScript cannot show";
    }
}

function check(ok, what) {
    if (!ok) WScript.Echo("FAILED: " + what + " (" + ++failures + ")");
}

function same(actual, expected, what) {
    check(actual === expected, what + ": expected " + show(expected) + ", got " + show(actual));
}

function contains(text, part, what) {
    check(text.indexOf(part) >= 0, what + ": " + part + " not in " + text);
}

// The callee must return the member's value: JScript asks for a property get only when the
// result is used, and the bare method call it makes otherwise never reaches the member.
function fails(fn, number, what) {
    try {
        fn();
    } catch (e) {
        return same(e.number, number, what + ", error number");
    }
    check(false, what + ": succeeded, expected error " + number);
}

function sameArray(variantArray, expected, what) {
    var items;
    try {
        items = new VBArray(variantArray).toArray();
    } catch (e) {
        return check(false, what + ": expected an array, got " + show(variantArray));
    }
    same(items.length, expected.length, what + ", length");
    for (var i = 0; i < expected.length && i < items.length; i++)
        same(items[i], expected[i], what + "[" + i + "]");
}

// The members of a collection as `new Enumerator` walks them, joined by commas.
function listed(collection, pick) {
    var out = [];
    for (var e = new Enumerator(collection); !e.atEnd(); e.moveNext()) out.push(pick(e.item()));
    return out.join(",");
}

// Columns come as name, type, direction, order; each row as its id, then name, value pairs, where
// an undefined value leaves the cell as it was made.
function makeTable(storage, application, columns, rowList) {
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
        var row = storage.CreateQnPSObject(7), cells = rowList[r];
        row.RowID = cells[0];
        for (var c = 1; c < cells.length; c += 2) {
            var cell = storage.CreateQnPSObject(2);
            cell.ColumnDef = defs.ColumnDef(cells[c]);
            if (cells[c + 1] !== undefined) cell.Value = cells[c + 1];
            row.AddItem(cell);
        }
        rows.AddItem(row);
    }
    table.ColumnDefs = defs;
    table.Rows = rows;
    table.Application = application;
    return table;
}

// This host ends a script that throws with exit code 0, so nothing may throw outside a section.
function section(name, body) {
    try {
        body();
    } catch (e) {
        check(false, name + " stopped by error " + e.number + " " + e.description);
    }
}

// The host's exit code proves nothing (a script that does not parse also ends with 0): ctest
// passes a client only on this line, which only a client that ran to its end prints.
function finish() {
    WScript.Echo("script_" + WScript.ScriptName +
                 (failures > 0 ? ": checks failed (" + failures + ")" : ": all checks passed"));
    WScript.Quit(failures > 0 ? 1 : 0);
}
