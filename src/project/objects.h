#pragma once
// Tables of all classes of object: made between the two reading passes, let go of at the close.

/// Makes all tables at their counted sizes. Nothing happens while an error stands; sets the error if memory is short.
void objects_create();

/// Lets go of all tables, from whatever half-built state.
void objects_delete();
