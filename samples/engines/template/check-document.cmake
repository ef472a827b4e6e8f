# Fails unless DOCUMENT holds the whole of SOURCE as a block of code.
file(READ "${DOCUMENT}" document)
file(READ "${SOURCE}" source)
string(FIND "${document}" "```cpp\n${source}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not show ${SOURCE} as it is: copy the file into the document.")
endif()
