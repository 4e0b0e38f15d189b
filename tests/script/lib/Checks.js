// The checks every JScript client shares; Join.cmake puts this file in front of each client.
var failures = 0;

// Variants JScript has no type for (a variant array, a stream) refuse even typeof: showing one
// fails its case with the error that raises.
function show(v) {
    if (typeof v == "string") return '"' + v + '"';
    if (v == null || typeof v != "object") return String(v);
    for (var i = 0, out = []; v instanceof Array && i < v.length; i++) out.push(show(v[i]));
    return v instanceof Array ? "[" + out + "]" : "an object";
}

// A variant array's elements, through JScript's only reader of them.
function items(array) { return new VBArray(array).toArray(); }

// Each case is [what, expected, call]: the call's value as `show` gives it, or the error it raises
// as "error 0x...". A call returns the member's value, since JScript asks for a property get only
// when it uses the result.
function checkAll(cases) {
    for (var i = 0; i < cases.length; i++) {
        var actual;
        try {
            actual = show(cases[i][2]());
        } catch (e) {
            actual = "error 0x" + (e.number >>> 0).toString(16).toUpperCase();
        }
        if (actual !== cases[i][1])
            WScript.Echo("FAILED: " + cases[i][0] + ": expected " + cases[i][1] + ", got " + actual +
                         " (" + ++failures + ")");
    }
}

// Wine's script host ends a script that throws or does not parse with exit code 0: ctest passes a
// client only on this line, which only a client that ran to its end prints.
function finish() {
    if (failures == 0) WScript.Echo("script_" + WScript.ScriptName + ": all checks passed");
    WScript.Quit(failures > 0 ? 1 : 0);
}
