' The checks every VBScript client shares, put in front of each client by Join.cmake. An error
' outside On Error Resume Next ends the script before Finish, which fails the test.
Option Explicit
Dim failures
failures = 0

' Same value and same variant type: 2 and CLng(2), or a Date and a Double of one value, differ.
' TypeName of Nothing brings this VBScript down, so objects are never named.
Sub Same(actual, expected, what)
    Dim ok, shown
    ok = Not (IsObject(actual) Or IsArray(actual))
    If ok Then ok = VarType(actual) = VarType(expected)
    If ok And Not (IsNull(actual) Or IsEmpty(actual)) Then ok = actual = expected
    If ok Then Exit Sub
    failures = failures + 1
    shown = "an object or array"
    If Not (IsObject(actual) Or IsArray(actual)) Then shown = TypeName(actual) & " " & actual
    WScript.Echo "FAILED: " & what & ": expected " & TypeName(expected) & " " & expected & ", got " & shown
End Sub

' Called right after a statement run under On Error Resume Next: the error it must have raised.
Sub Raised(number, what)
    Same Err.Number, CLng(number), what & ", Err.Number"
    Err.Clear
End Sub

' Wine's script host ends a script that fails or does not parse with exit code 0: ctest passes a
' client only on this line, which only a client that ran to its end prints.
Sub Finish
    If failures = 0 Then WScript.Echo "script_" & WScript.ScriptName & ": all checks passed"
    WScript.Quit failures
End Sub
