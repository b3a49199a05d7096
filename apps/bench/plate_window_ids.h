#pragma once

// What the dialog is called in the program's resources, for C++ and for the resource compiler.
#define PLATE_WINDOW 100
#define PLATE_DETAILS 101
