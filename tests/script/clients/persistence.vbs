' A VBScript host keeping a property table in a stream of a compound file, as document hosts do:
' write, read back, merge into the earlier document, and the refusals a host has to expect.
' ctest runs it joined after lib/Checks.vbs, which holds the checks and the closing line.

Const QNPS_E_WRONGXMLFILE = &H80048003
Const QNPS_E_EMPTYCOLLECTION = &H80048004
Const QNPS_E_WRONGAPPLICATION = &H80048005
Const QNPS_E_STREAMISREADONLY = &H80048006
Const ToDocument = 1, FromDocument = 2
Const TypeString = 0, TypeInt = 1, TypeDate = 2, TypeDouble = 3, TypeBool = 4
' The 8 bytes of 2024-03-05 06:00 as the document writes a date.
Const ISSUED_HEX = "40E6258800000000"

Dim storage, streams, fso, path, stream, written, issued

' The capturing functions clear what they caught: this VBScript keeps Err set after they return.
Function ReadError(target)
    On Error Resume Next
    Dim table
    Set table = storage.ReadProperties(target)
    ReadError = Err.Number
    Err.Clear
End Function

Function WriteError(target, table, flags)
    On Error Resume Next
    storage.WriteProperties target, table, flags
    WriteError = Err.Number
    Err.Clear
End Function

' Columns come as name, type, direction, order; each row as its id, then name, value pairs.
Function MakeTable(application, columns, rowList)
    Dim table, defs, rows, def, row, cell, i, r, c
    Set table = storage.CreateQnPSObject(5)
    Set defs = storage.CreateQnPSObject(6)
    Set rows = storage.CreateQnPSObject(8)
    For i = 0 To UBound(columns) Step 4
        Set def = storage.CreateQnPSObject(4)
        def.Name = columns(i)
        def.PropType = columns(i + 1)
        def.Direction = columns(i + 2)
        def.Order = columns(i + 3)
        defs.AddDefinition def
    Next
    For Each r In rowList
        Set row = storage.CreateQnPSObject(7)
        row.RowID = r(0)
        For c = 1 To UBound(r) Step 2
            Set cell = storage.CreateQnPSObject(2)
            Set cell.ColumnDef = defs.ColumnDef(r(c))
            cell.Value = r(c + 1)
            row.AddItem cell
        Next
        rows.AddItem row
    Next
    Set table.ColumnDefs = defs
    Set table.Rows = rows
    table.Application = application
    Set MakeTable = table
End Function

Function ReadBack()
    streams.Rewind stream
    Set ReadBack = storage.ReadProperties(stream)
End Function

Function RowIDsOf(table)
    Dim row, out
    For Each row In table.Rows
        out = out & "," & row.RowID
    Next
    RowIDsOf = Mid(out, 2)
End Function

Function ColumnsOf(table)
    Dim def, out
    For Each def In table.GetColumnDefs(3)
        out = out & "," & def.Name
    Next
    ColumnsOf = Mid(out, 2)
End Function

Sub TestNewDocument
    Dim table, defs
    Set stream = streams.CreateFileStream(path, "Properties")
    Same ReadError(stream), QNPS_E_WRONGXMLFILE, "read of an empty stream"
    Set table = MakeTable("Drafting", _
        Array("Title", TypeString, FromDocument, 0, "Sheets", TypeInt, 0, 1, _
              "Issued", TypeDate, 0, -1, "Checked", TypeBool, 0, -1, _
              "Scale", TypeDouble, 0, -1, "Note", TypeString, ToDocument, -1), _
        Array(Array("R1", "Title", "Ground floor", "Sheets", 3, "Issued", issued, "Checked", True, _
                    "Scale", 2.5, "Note", "first"), _
              Array("R2", "Title", "Roof", "Checked", False, "Note", "n2")))
    Set defs = table.GetColumnDefs(3)
    defs.ColumnDef("Title").DispName = "Drawing title"
    defs.ColumnDef("Sheets").Hidden = True
    ' Skipping the direction puts the ToDocument column in too.
    storage.WriteProperties stream, table, 2
    Same defs.ColumnDef("Scale").PropType, CLng(TypeString), "Double column after the write"

    written = streams.StreamText(stream)
    Contains written, "<PropertyStorage Version=""1.01"" Application=""Drafting"">", "root"
    Contains written, "<Title DispName=""Drawing title"" Direction=""FromDocument"" Order=""0""/>", _
             "Title"
    Contains written, "<Sheets DispName=""Sheets"" Type=""INT"" Hidden=""1"" Order=""1""/>", _
             "Sheets"
    Contains written, "<Issued DispName=""Issued"" Type=""DATE""/>", "Issued"
    Contains written, "<Checked DispName=""Checked"" Type=""BOOL""/>", "Checked"
    Contains written, "<Row RowID=""R1"" Title=""Ground floor"" Sheets=""3"" Issued=""" & _
             ISSUED_HEX & """ Checked=""1"" Scale=""2.5"" Note=""first""/>", "row R1"
    Contains written, "<Row RowID=""R2"" Title=""Roof"" Checked=""0"" Note=""n2""/>", "row R2"
End Sub

Sub TestReadingBack
    Dim table, defs
    Set table = ReadBack()
    Same table.Application, "Drafting", "Application"
    Same RowIDsOf(table), "R1,R2", "rows by For Each"
    Same ColumnsOf(table), "Title,Sheets,Issued,Checked,Scale,Note", "columns by For Each"
    Set defs = table.GetColumnDefs(3)
    Same defs.ColumnDef("Title").DispName, "Drawing title", "Title DispName"
    Same defs.ColumnDef("Title").Direction, CLng(FromDocument), "Title Direction"
    Same defs.ColumnDef("Sheets").Hidden, True, "Sheets Hidden"
    Same defs.ColumnDef("Issued").PropType, CLng(TypeDate), "Issued PropType"
    Same table.Property("R1", "Title").Value, "Ground floor", "String value"
    Same table.Property("R1", "Sheets").Value, CLng(3), "Int value"
    ' Dates come back as plain Doubles, booleans as Integers: the document's own types.
    Same table.Property("R1", "Issued").Value, CDbl(issued), "Date value"
    Same table.Property("R1", "Checked").Value, -1, "Bool value True"
    Same table.Property("R2", "Checked").Value, 0, "Bool value False"
    ' Written as decimal text under DOUBLE, read as hexadecimal: the value is lost on purpose.
    Same table.Property("R1", "Scale").Value, CDbl(0), "Double value"
    Same table.Property("R1", "Note").Value, "first", "ToDocument value"
    Same table.Property("R2", "Sheets").Value, Empty, "R2 Sheets cell without a value"
End Sub

Sub TestMerge
    Dim table, text, merged
    Set stream = streams.OpenFileStream(path, "Properties", False)
    Same streams.StreamText(stream), written, "content after reopening"
    Set table = MakeTable("drafting", _
        Array("Title", TypeString, 0, -1, "Sheets", TypeInt, 0, -1, "Issued", TypeDate, 0, -1, _
              "Checked", TypeBool, 0, -1, "Note", TypeString, ToDocument, -1), _
        Array(Array("R1", "Title", "First floor", "Checked", False, "Note", "second")))
    storage.WriteProperties stream, table, 0
    text = streams.StreamText(stream)
    ' The root of an existing document is never rewritten.
    Contains text, "<PropertyStorage Version=""1.01"" Application=""Drafting"">", "merged root"
    Check InStr(text, "RowID=""R2""") = 0, "dropped row gone from the document"
    Check InStr(text, "<Scale") = 0, "dropped column gone from the document"

    Set merged = ReadBack()
    Same RowIDsOf(merged), "R1", "rows after the merge"
    Same merged.Property("R1", "Title").Value, "First floor", "new value"
    Same merged.Property("R1", "Sheets").Value, CLng(3), "Int carried over"
    Same merged.Property("R1", "Issued").Value, CDbl(issued), "Date carried over"
    Same merged.Property("R1", "Checked").Value, 0, "Bool replaced"
    Same merged.Property("R1", "Note").Value, "first", "ToDocument value kept"
    Check merged.Property("R1", "Scale") Is Nothing, "dropped column"
    Check merged.Rows.RowByID("R2") Is Nothing, "dropped row"
    written = text
End Sub

Sub TestRefusals
    Dim office
    Set office = MakeTable("Office", Array("Title", TypeString, 0, -1), _
                           Array(Array("R9", "Title", "Other")))
    Set stream = streams.OpenFileStream(path, "Properties", True)
    Same WriteError(stream, office, 1), QNPS_E_STREAMISREADONLY, "write into a read-only stream"
    Same ReadBack().Rows.Count, CLng(1), "a read-only stream reads"

    Set stream = streams.OpenFileStream(path, "Properties", False)
    Same WriteError(stream, office, 0), QNPS_E_WRONGAPPLICATION, "write of another application"
    Same streams.StreamText(stream), written, "content after the refusals"
    Same WriteError(stream, office, 1), CLng(0), "overwrite ignores the application"
    Same RowIDsOf(ReadBack()), "R9", "rows after the overwrite"

    streams.SetStreamText stream, _
        "<PropertyStorage Version=""1.02""><ColumnDefs/><Properties/></PropertyStorage>"
    Same ReadError(stream), QNPS_E_WRONGXMLFILE, "version 1.02"
    streams.SetStreamText stream, "<PropertyStorage Version=""1.0""><ColumnDefs/></PropertyStorage>"
    Same ReadError(stream), QNPS_E_EMPTYCOLLECTION, "document without Properties"
End Sub

Sub TestCleanUp
    streams.Close
    fso.DeleteFile path
    Same fso.FileExists(path), False, "file removed"
End Sub

On Error Resume Next
Set storage = WScript.CreateObject("QnPropStorage.CQnPropStorage") : Report "server"
Set streams = WScript.CreateObject("QnPropStorageTest.Streams") : Report "stream helper"
Set fso = WScript.CreateObject("Scripting.FileSystemObject") : Report "file system"
If Not (IsObject(storage) And IsObject(streams) And IsObject(fso)) Then WScript.Quit 1
path = fso.BuildPath(fso.GetSpecialFolder(2).Path, "qnps_persistence_vbs.stg")
issued = DateSerial(2024, 3, 5) + TimeSerial(6, 0, 0)
TestNewDocument : Report "new document"
TestReadingBack : Report "reading back"
TestMerge : Report "merge"
TestRefusals : Report "refusals"
TestCleanUp : Report "clean up"
On Error GoTo 0

Finish
