#pragma once
// Marks the classes and functions that libsurveycam exports; everything else
// stays hidden inside the shared object.
#define SURVEYCAM_API __attribute__((visibility("default")))
