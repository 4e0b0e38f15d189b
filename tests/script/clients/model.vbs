' What the dispatcher adds to the members the C++ suites prove, seen as VBScript sees it: the type
' library's argument types, the default member, variant arrays read with LBound and UBound,
' variables passed by reference, object properties put without Set, and errors as Err.Number. The
' JScript sample shows the same members through JScript.
Dim storage, table, defs, rows, row, cell, values, v, i
Set storage = WScript.CreateObject("QnPropStorage.CQnPropStorage")
Set table = storage.CreateQnPSObject(5)
Set defs = storage.CreateQnPSObject(6)
Set rows = storage.CreateQnPSObject(8)
For Each v In Array("Layout", "Size")
    Set cell = storage.CreateQnPSObject(4)
    cell.Name = v
    defs.AddDefinition cell
Next
' A row's id, then its cells' values by column; Empty leaves a cell without one.
For Each values In Array(Array("R1", "Sheet1", 2.5), Array("R2", "SHEET1", Null), Array("R3", 3, Empty))
    Set row = storage.CreateQnPSObject(7)
    row.RowID = values(0)
    For i = 1 To 2
        Set cell = storage.CreateQnPSObject(2)
        Set cell.ColumnDef = defs(i - 1)
        If Not IsEmpty(values(i)) Then cell.Value = values(i)
        row.AddItem cell
    Next
    rows.AddItem row
Next
table.ColumnDefs = defs
table.Rows = rows

Sub SameArray(actual, expected, what)
    Same LBound(actual) & " to " & UBound(actual), "0 to " & UBound(expected), what & ": bounds"
    For i = 0 To UBound(expected) : Same actual(i), expected(i), what & "(" & i & ")" : Next
End Sub
SameArray rows.ColumnValues("Size"), Array(2.5, Null, Empty), "ColumnValues"
SameArray table.LayoutsNames, Array("Sheet1", "SHEET1", 3), "LayoutsNames"
Same rows(2).RowID, "R3", "Item as the default member"

' Variables arrive by reference; a put keeps the value, not the variable; Set may be left out.
v = "SHEET1"
Same rows.Row("Layout", v).RowID, "R2", "Row by a variable"
Set cell = storage.CreateQnPSObject(2)
cell.ColumnDef = defs(1)
cell.Value = v
Set row = storage.CreateQnPSObject(7)
row.AddItem cell
row.CustomProperty("Owner") = v
v = "changed"
Same row.Property("size").Value, "SHEET1", "Value put from a variable, ColumnDef without Set"
Same row.CustomProperty("Owner"), "SHEET1", "CustomProperty put from a variable"
' Custom properties are kept by their exact name; the null name is the empty one.
row.CustomProperty("Owner") = 4
row.CustomProperty(vbNullString) = 7
Same row.CustomProperty("Owner") + row.CustomProperty(""), 11, "CustomProperty put again, and by a null name"

' The type library's argument types: the dispatcher refuses an object of another kind before the
' member runs.
On Error Resume Next
Set cell.ColumnDef = rows(0) : Raised 430, "Set ColumnDef to a row"
Set table.Rows = defs : Raised 430, "Set Rows to definitions"
storage.CreateQnPSObject 3 : Raised &H80048001, "CreateQnPSObject(3)"
Set row = rows.Item(-1) : Raised 5, "Item(-1)"
v = row.CustomProperty("OWNER") : Raised &H8002802B, "CustomProperty by a name in another case"
On Error GoTo 0
Finish
