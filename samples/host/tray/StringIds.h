#pragma once

// The texts of modetray, in texts/*.rc: one file for each language, with the same numbers.
// Macros, as the resource compiler knows nothing else. %1, %2: see Texts::Format.
#define IDS_APPLICATION 1  // the program, as captions name it
#define IDS_MODE_STATUS 2  // %1 a mode, %2 the name of its status
#define IDS_NO_MODE_ON 3
#define IDS_TURNING_ON 4  // %1 a mode
#define IDS_TURNING_OFF 5

#define IDS_MENU_SETTINGS 16
#define IDS_MENU_EXIT 17

#define IDS_DONE_ON 32  // %1 a mode, in these and the next ones
#define IDS_DONE_OFF 33
#define IDS_CANCELLED 34
#define IDS_FAILED_ON 35
#define IDS_FAILED_OFF 36
#define IDS_ENGINE_RESULT_ON 37  // %2 the result's number
#define IDS_ENGINE_RESULT_OFF 38
#define IDS_NO_ANSWER 39

#define IDS_ERROR_LIBRARY_MISSING 48  // %1 the file
#define IDS_ERROR_LIBRARY_DAMAGED 49  // %1 the file
#define IDS_ERROR_CONFIGURATION 50    // %1 the folder
#define IDS_ERROR_ANSWER 51
#define IDS_ERROR_REQUEST 52
#define IDS_ERROR_SETTINGS 53
#define IDS_ERROR_DATA_FOLDER 54  // %1 the folder
#define IDS_ERROR_MEMORY 55
#define IDS_ALREADY_RUNNING 56
#define IDS_SESSION_WAITS 57
