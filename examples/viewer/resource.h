// Numbers of menu commands; also read by the resource compiler.
#pragma once

#define IDR_VIEWER 1

#define ID_OPEN 100
#define ID_SAVE_AS 101
#define ID_ACQUIRE 102
#define ID_SELECT_SOURCE 103
#define ID_PRINT 104
#define ID_EXIT 105
#define ID_COPY 110
#define ID_PASTE 111
#define ID_FIT 120
#define ID_ACTUAL 121
#define ID_ZOOM_IN 122
#define ID_ZOOM_OUT 123
#define ID_PREVIOUS_PAGE 130
#define ID_NEXT_PAGE 131
#define ID_PREVIOUS_FILE 132
#define ID_NEXT_FILE 133
#define ID_PAN_LEFT 140
#define ID_PAN_RIGHT 141
#define ID_PAN_UP 142
#define ID_PAN_DOWN 143
#define ID_ROTATE_RIGHT 150
#define ID_ROTATE_LEFT 151
#define ID_MIRROR 152
#define ID_FLIP 153
#define ID_INVERT 154
#define ID_GRAY 155
#define ID_SHARPEN 156
#define ID_EQUALIZE 157
/* + T_EFFECT_ value */
#define ID_EFFECT 200
