# Writes a native-messaging host manifest naming the installed tolvane-cli (run at install time,
# so that the prefix given to `cmake --install --prefix` is the one named).
#   HOST_PATH, BROWSER (chromium|firefox), OUTPUT
set(common "\"name\": \"com.merrowby.tolvane\",
    \"description\": \"Tolvane: records finished downloads and hands them to Tolvane\",
    \"path\": \"${HOST_PATH}\",
    \"type\": \"stdio\",")
if(BROWSER STREQUAL "chromium")
    set(allowed "\"allowed_origins\": [\"chrome-extension://gamicopacodlilgleoacolibipngaoli/\"]")
else()
    set(allowed "\"allowed_extensions\": [\"tolvane@merrowby.com\"]")
endif()
file(WRITE "${OUTPUT}" "{\n    ${common}\n    ${allowed}\n}\n")
