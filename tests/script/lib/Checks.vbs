' The checks every VBScript client shares. Wine's script host runs no .wsf jobs and its VBScript
' has no ExecuteGlobal, so Join.cmake puts this file in front of each client in clients/ and ctest
' runs the joined script; Option Explicit here therefore covers the client too.
Option Explicit

Dim failures
failures = 0

Sub Check(ok, what)
    If Not ok Then
        failures = failures + 1
        WScript.Echo "FAILED: " & what
    End If
End Sub

' TypeName of Nothing brings this VBScript down, so objects are only named.
Function Show(v)
    If IsObject(v) Then
        Show = "an object"
    ElseIf IsArray(v) Then
        Show = "an array"
    ElseIf VarType(v) = vbString Then
        Show = """" & v & """"
    ElseIf IsNull(v) Or IsEmpty(v) Then
        Show = TypeName(v)
    Else
        Show = CStr(v) & " (" & TypeName(v) & ")"
    End If
End Function

' Same value and same variant type: 2 and CLng(2), or a Date and a Double of one value, are
' different answers.
Sub Same(actual, expected, what)
    Dim ok
    If IsObject(actual) Or IsArray(actual) Then
        ok = False
    ElseIf VarType(actual) <> VarType(expected) Then
        ok = False
    ElseIf IsNull(actual) Or IsEmpty(actual) Then
        ok = True
    Else
        ok = (actual = expected)
    End If
    Check ok, what & ": expected " & Show(expected) & ", got " & Show(actual)
End Sub

Sub SameArray(actual, expected, what)
    Dim i
    If Not IsArray(actual) Then
        Check False, what & ": expected an array, got " & Show(actual)
        Exit Sub
    End If
    Same LBound(actual), CLng(0), what & ", lower bound"
    Same UBound(actual), UBound(expected), what & ", upper bound"
    For i = 0 To UBound(expected)
        If i <= UBound(actual) Then Same actual(i), expected(i), what & "(" & i & ")"
    Next
End Sub

Sub Contains(text, part, what)
    Check InStr(text, part) > 0, what & ": " & part & " not in " & text
End Sub

' Clients run their sections under On Error Resume Next and call this after each one: an error
' that escapes a section must count, since this host ends such a script with exit code 0.
Sub Report(section)
    If Err.Number <> 0 Then
        failures = failures + 1
        WScript.Echo "FAILED: " & section & " stopped by error " & Err.Number & " " & Err.Description
        Err.Clear
    End If
End Sub

' The host's exit code proves nothing (a script that does not parse also ends with 0): ctest
' passes a client only on the last line, which only a client that ran to its end prints.
Sub Finish
    If failures = 0 Then
        WScript.Echo "script_" & WScript.ScriptName & ": all checks passed"
    Else
        WScript.Echo "script_" & WScript.ScriptName & ": checks failed (" & failures & ")"
        WScript.Quit 1
    End If
End Sub
