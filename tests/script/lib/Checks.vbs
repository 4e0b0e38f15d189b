' The checks and the table builder every VBScript client shares. Join.cmake puts this file in
' front of each client in clients/, so Option Explicit here covers the client too.
Option Explicit

Dim failures
failures = 0

Sub Check(ok, what)
    If Not ok Then failures = failures + 1 : WScript.Echo "FAILED: " & what
End Sub

' TypeName of Nothing brings this VBScript down, so objects are only named.
Function Show(v)
    If IsObject(v) Or IsArray(v) Then
        Show = "an object or array"
    ElseIf IsNull(v) Or IsEmpty(v) Then
        Show = TypeName(v)
    Else
        Show = """" & v & """ (" & TypeName(v) & ")"
    End If
End Function

' Same value and same variant type: 2 and CLng(2), or a Date and a Double of one value, differ.
Sub Same(actual, expected, what)
    Dim ok
    ok = Not (IsObject(actual) Or IsArray(actual))
    If ok Then ok = VarType(actual) = VarType(expected)
    If ok And Not (IsNull(actual) Or IsEmpty(actual)) Then ok = actual = expected
    Check ok, what & ": expected " & Show(expected) & ", got " & Show(actual)
End Sub

Sub SameArray(actual, expected, what)
    Dim i
    Check IsArray(actual), what & ": expected an array, got " & Show(actual)
    If Not IsArray(actual) Then Exit Sub
    Same LBound(actual), CLng(0), what & ", lower bound"
    Same UBound(actual), UBound(expected), what & ", upper bound"
    For i = 0 To UBound(expected)
        If i <= UBound(actual) Then Same actual(i), expected(i), what & "(" & i & ")"
    Next
End Sub

' Called right after a statement run under On Error Resume Next: the error it must have raised.
Sub Raised(number, what)
    Same Err.Number, CLng(number), what & ", Err.Number"
    Err.Clear
End Sub

' The Name of each definition, or the RowID of each row, as For Each walks them.
Function Listed(collection)
    Dim item, key
    For Each item In collection
        If item.Type = 4 Then key = item.Name Else key = item.RowID
        Listed = Listed & "," & key
    Next
    Listed = Mid(Listed, 2)
End Function

' Columns come as name, type pairs; each row as its id, then name, value pairs, where an Empty
' value leaves the cell as it was made.
Function MakeTable(storage, application, columns, rowList)
    Dim defs, rows, def, row, cell, i, r
    Set defs = storage.CreateQnPSObject(6)
    Set rows = storage.CreateQnPSObject(8)
    For i = 0 To UBound(columns) Step 2
        Set def = storage.CreateQnPSObject(4)
        def.Name = columns(i)
        def.PropType = columns(i + 1)
        defs.AddDefinition def
    Next
    For Each r In rowList
        Set row = storage.CreateQnPSObject(7)
        row.RowID = r(0)
        For i = 1 To UBound(r) Step 2
            Set cell = storage.CreateQnPSObject(2)
            Set cell.ColumnDef = defs.ColumnDef(r(i))
            If Not IsEmpty(r(i + 1)) Then cell.Value = r(i + 1)
            row.AddItem cell
        Next
        rows.AddItem row
    Next
    Set MakeTable = storage.CreateQnPSObject(5)
    Set MakeTable.ColumnDefs = defs
    Set MakeTable.Rows = rows
    MakeTable.Application = application
End Function

' Clients run their sections under On Error Resume Next and call this after each one: an error
' that escapes a section must count, since this host ends such a script with exit code 0.
Sub Report(section)
    Check Err.Number = 0, section & " stopped by error " & Err.Number & " " & Err.Description
    Err.Clear
End Sub

' The host's exit code proves nothing (a script that does not parse also ends with 0): ctest
' passes a client only on this line, which only a client that ran to its end prints.
Sub Finish
    If failures = 0 Then
        WScript.Echo "script_" & WScript.ScriptName & ": all checks passed"
    Else
        WScript.Echo "script_" & WScript.ScriptName & ": checks failed (" & failures & ")"
        WScript.Quit 1
    End If
End Sub
