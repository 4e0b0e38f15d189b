// The checks every JScript client shares. Wine's script host runs no .wsf jobs, so Join.cmake puts
// this file in front of each client in clients/ and ctest runs the joined script.

var failures = 0;

function isPlain(v) {
    try {
        return typeof v != "unknown";
    } catch (e) {
        return false;
    }
}

function isEmptyValue(v) {
    return isPlain(v) && typeof v == "undefined";
}

// Dispatch objects have no default value to print, and variants JScript has no type for (an
// array, a 64-bit integer, a stream) refuse even typeof, so those are named rather than converted.
function show(v) {
    if (!isPlain(v)) {
        try {
            new VBArray(v);
            return "an array";
        } catch (e) {
            return "a variant JScript cannot show";
        }
    }
    if (v === null || typeof v == "undefined") return String(v);
    if (typeof v == "object") return "an object";
    if (typeof v == "string") return '"' + v + '"';
    return typeof v + " " + String(v);
}

function check(ok, what) {
    if (!ok) {
        failures++;
        WScript.Echo("FAILED: " + what);
    }
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
        same(e.number, number, what + ", error number");
        return;
    }
    check(false, what + ": succeeded, expected error " + number);
}

function sameArray(variantArray, expected, what) {
    if (isPlain(variantArray)) {
        check(false, what + ": expected an array, got " + show(variantArray));
        return;
    }
    var vb = new VBArray(variantArray);
    same(vb.dimensions(), 1, what + ", dimensions");
    same(vb.lbound(1), 0, what + ", lower bound");
    var items = vb.toArray();
    same(items.length, expected.length, what + ", length");
    for (var i = 0; i < expected.length && i < items.length; i++)
        same(items[i], expected[i], what + "[" + i + "]");
}

// This host ends a script that throws with exit code 0, so nothing may throw outside a section.
function section(name, body) {
    try {
        body();
    } catch (e) {
        failures++;
        WScript.Echo("FAILED: " + name + " stopped by error " + e.number + " " + e.description);
    }
}

// The host's exit code proves nothing (a script that does not parse also ends with 0): ctest
// passes a client only on the last line, which only a client that ran to its end prints.
function finish() {
    var name = "script_" + WScript.ScriptName;
    WScript.Echo(failures > 0 ? name + ": checks failed (" + failures + ")"
                              : name + ": all checks passed");
    WScript.Quit(failures > 0 ? 1 : 0);
}
