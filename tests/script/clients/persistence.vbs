' A VBScript host keeping a property table in a stream of a compound file. persistence.js covers
' the document's format; this client checks the variant types VBScript reads back, a merge, and
' the refusals as Err.Number.

Dim storage, streams, fso, path, stream, issued

Function ReadBack()
    streams.Rewind stream
    Set ReadBack = storage.ReadProperties(stream)
End Function

Sub TestWriteAndRead
    Dim table
    Set stream = streams.CreateFileStream(path, "Properties")
    On Error Resume Next
    Set table = storage.ReadProperties(stream) : Raised &H80048003, "read of an empty stream"
    On Error GoTo 0
    Set table = MakeTable(storage, "Drafting", _
        Array("Title", 0, "Sheets", 1, "Issued", 2, "Checked", 4, "Scale", 3), _
        Array(Array("R1", "Title", "Ground floor", "Sheets", 3, "Issued", issued, _
                    "Checked", True, "Scale", 2.5), _
              Array("R2", "Title", "Roof", "Checked", False)))
    storage.WriteProperties stream, table, 0
    ' A VBScript Date and True as the document writes them.
    Check InStr(streams.StreamText(stream), "Issued=""40E6258800000000"" Checked=""1""") > 0, _
          "Date and Bool written"

    Set table = ReadBack()
    Same Listed(table.Rows), "R1,R2", "rows by For Each"
    Same table.Property("R1", "Title").Value, "Ground floor", "String value"
    Same table.Property("R1", "Sheets").Value, CLng(3), "Int value"
    ' Dates come back as plain Doubles, booleans as Integers: the document's own types.
    Same table.Property("R1", "Issued").Value, CDbl(issued), "Date value"
    Same table.Property("R1", "Checked").Value, -1, "Bool value True"
    Same table.Property("R2", "Checked").Value, 0, "Bool value False"
    ' Written as decimal text under DOUBLE, read as hexadecimal: the value is lost on purpose.
    Same table.Property("R1", "Scale").Value, CDbl(0), "Double value"
    Same table.Property("R2", "Sheets").Value, Empty, "R2 Sheets cell without a value"
End Sub

Sub TestMerge
    Dim merged
    Set stream = streams.OpenFileStream(path, "Properties", False)
    storage.WriteProperties stream, MakeTable(storage, "drafting", _
        Array("Title", 0, "Sheets", 1, "Issued", 2), Array(Array("R1", "Title", "First floor"))), 0
    Set merged = ReadBack()
    Same Listed(merged.Rows), "R1", "rows after the merge"
    Same merged.Property("R1", "Title").Value, "First floor", "new value"
    Same merged.Property("R1", "Sheets").Value, CLng(3), "Int carried over"
    Same merged.Property("R1", "Issued").Value, CDbl(issued), "Date carried over"
    Check merged.Property("R1", "Scale") Is Nothing, "dropped column"
End Sub

Sub TestRefusals
    Dim office
    Set office = MakeTable(storage, "Office", Array("Title", 0), Array(Array("R9", "Title", "x")))
    Set stream = streams.OpenFileStream(path, "Properties", True)
    On Error Resume Next
    storage.WriteProperties stream, office, 1 : Raised &H80048006, "read-only stream"
    Set stream = streams.OpenFileStream(path, "Properties", False)
    storage.WriteProperties stream, office, 0 : Raised &H80048005, "another application"
    On Error GoTo 0
End Sub

' A server that cannot be made ends the script before its closing line, which fails the test.
Set storage = WScript.CreateObject("QnPropStorage.CQnPropStorage")
Set streams = WScript.CreateObject("QnPropStorageTest.Streams")
Set fso = WScript.CreateObject("Scripting.FileSystemObject")
path = fso.BuildPath(fso.GetSpecialFolder(2).Path, "qnps_persistence_vbs.stg")
issued = DateSerial(2024, 3, 5) + TimeSerial(6, 0, 0)
On Error Resume Next
TestWriteAndRead : Report "write and read"
TestMerge : Report "merge"
TestRefusals : Report "refusals"
streams.Close
fso.DeleteFile path : Report "clean up"
On Error GoTo 0

Finish
