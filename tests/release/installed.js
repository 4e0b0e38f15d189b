// Late binding through what the installer registered, as a script host does it.
var names = ["QnPropStorage.CQnPropStorage.1", "QnPropStorage.CQnPropStorage"];
for (var i = 0; i < names.length; i++) {
    var table = WScript.CreateObject(names[i]).CreateQnPSObject(5);
    table.Application = "Installed";
    WScript.Echo(names[i] + ": Type " + table.Type + ", Application " + table.Application);
}
