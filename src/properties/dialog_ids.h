// The parts of the dialogs in properties.rc. Macros, because the resource compiler knows nothing else.
#pragma once

#define VANTOR_COMMON_CONTROLS 2  // the manifest's place that the system looks into for a DLL
#define VANTOR_PROPERTIES_DIALOG 4101
#define VANTOR_PICTURE_DIALOG 4102

#define VANTOR_PATH 1001
#define VANTOR_FILTER_LABEL 1002
#define VANTOR_FILTER 1003
#define VANTOR_LIST 1004
#define VANTOR_VALUE 1005
#define VANTOR_PICTURE 1006
#define VANTOR_CAPTION 1007
#define VANTOR_PREVIOUS 1008
#define VANTOR_NEXT 1009
#define VANTOR_MESSAGE 1010
#define VANTOR_COPY 1011
