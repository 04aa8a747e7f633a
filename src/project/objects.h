#pragma once
// Tables of all classes of object, made between the two reading passes.

struct Model;

/// Makes all tables at their counted sizes. Nothing happens while an error stands; sets the error if memory is short.
void objects_create(Model& model);
