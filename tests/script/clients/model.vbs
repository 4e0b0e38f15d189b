' What VBScript does its own way: arrays read with LBound and UBound, variables passed by
' reference, object properties put without Set, and errors as Err.Number. model.js has the rest.
Dim storage, defs, rows, row, cell, values, v, i
Set storage = WScript.CreateObject("QnPropStorage.CQnPropStorage")
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

values = rows.ColumnValues("Size")
v = Array(2.5, Null, Empty)
Same LBound(values) & " to " & UBound(values), "0 to 2", "ColumnValues' bounds"
For i = 0 To 2 : Same values(i), v(i), "ColumnValues(" & i & ")" : Next

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

On Error Resume Next
Set cell.ColumnDef = rows(0) : Raised 430, "Set ColumnDef to a row"
On Error GoTo 0
Finish
