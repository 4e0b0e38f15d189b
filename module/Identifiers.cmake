# The identities every registration artefact shares: the type library, the registration script and
# the module code are all generated from these values.
set(QNPS_LIBID              "07596A89-D0BD-4E2C-A0C7-249F044296EE")
set(QNPS_APPID              "7D15FC20-9660-4707-96D5-D69652BE850B")
set(QNPS_CLSID_PROPSTORAGE  "EEA15FF2-EE0C-4493-A0B7-2B0116E232A6")
