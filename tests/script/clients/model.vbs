' A VBScript host building and querying a property table through dispatch alone. model.js covers
' the model's rules; this client keeps what VBScript does its own way: For Each, arrays read with
' UBound and IsEmpty, Set and plain assignment of object properties, and Err.Number.

Dim storage, table, defs, rows

Sub TestEnumeration
    Dim cell, out
    Set table = MakeTable(storage, "Drafting", _
        Array("Layout", 0, "Title", 0, "Size", 3), _
        Array(Array("R1", "Layout", "Sheet1", "Title", "B", "Size", 2.5), _
              Array("R2", "Layout", "SHEET1", "Title", "a"), _
              Array("R3", "Layout", "Model", "Title", "B", "Size", Null), _
              Array("R4", "Layout", Empty, "Title", Empty), _
              Array("R5", "Layout", 3, "Title", Null)))
    Set defs = table.GetColumnDefs(3)
    Set rows = table.Rows
    Same Listed(defs), "Layout,Title,Size", "definitions by For Each"
    Same Listed(rows), "R1,R2,R3,R4,R5", "rows by For Each"
    For Each cell In rows(0)
        out = out & "," & cell.ColumnDef.Name
    Next
    Same out, ",Layout,Title,Size", "cells by For Each"
End Sub

Sub TestArrays
    SameArray rows.ColumnValues("Size"), Array(2.5, Empty, Null, Empty, Empty), "ColumnValues Size"
    SameArray rows.UniqueColumnValues("title"), Array("B", "a"), "UniqueColumnValues Title"
    Check IsEmpty(rows.UniqueColumnValues("Nope")), "UniqueColumnValues of a missing column"
    SameArray table.LayoutsNames, Array("Sheet1", "SHEET1", "Model", 3), "LayoutsNames"
    Check IsEmpty(storage.CreateQnPSObject(5).LayoutsNames), "LayoutsNames without rows is Empty"
End Sub

Sub TestErrors
    Dim x
    On Error Resume Next
    Set x = storage.CreateQnPSObject(3) : Raised &H80048001, "create 3"
    Set x = rows(-1) : Raised &H80070057, "Item(-1)"
    table.CustomProperty("Owner") = "office" : Raised 0, "custom property put"
    x = table.CustomProperty("Absent") : Raised &H8002802B, "custom property never put"
    x = table.CustomProperty("Owner") : Raised 0, "custom property get"
    On Error GoTo 0
    Same x, "office", "custom property"
End Sub

' Script meets the dispatcher's type check first (430); the narrowing by type is what C++ sees.
Sub TestObjectAssignment
    Dim cell, row
    Set cell = storage.CreateQnPSObject(2)
    cell.ColumnDef = defs.ColumnDef("Size")
    cell.Value = "12"
    Set row = storage.CreateQnPSObject(7)
    row.AddItem cell
    Same row.Property("size").Value, "12", "cell linked by plain assignment"
    Set cell.ColumnDef = defs.ColumnDef("Title")
    Same row.Property("TITLE").Value, "12", "cell linked by Set"
    On Error Resume Next
    Set cell.ColumnDef = row : Raised 430, "Set ColumnDef to a row"
    Set table.Rows = defs : Raised 430, "Set Rows to definitions"
    On Error GoTo 0
    Same row.Property("Title").Value, "12", "cell linked after the refusal"
    Same table.Rows.Count, CLng(5), "Rows kept after definitions were refused"
End Sub

' A server that cannot be made ends the script before its closing line, which fails the test.
Set storage = WScript.CreateObject("QnPropStorage.CQnPropStorage")
On Error Resume Next
TestEnumeration : Report "enumeration"
TestArrays : Report "arrays"
TestErrors : Report "errors"
TestObjectAssignment : Report "object assignment"
On Error GoTo 0

Finish
