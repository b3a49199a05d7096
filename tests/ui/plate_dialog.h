#pragma once

// What the dialog of plate_dialog.rc and its test share.
#define PLATE_DIALOG 100
#define PLATE_DETAILS 101
