// The pieces of the Python module; each area binds its classes in its own file.
#pragma once

#include <pybind11/functional.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "PyVariant.h"

namespace rykel::py {
void BindFrame(pyb::module_& m);
void BindStructure(pyb::module_& m);
void BindStructureText(pyb::module_& m);  // after BindStructure: adds to its classes
void BindPlain(pyb::module_& m);          // after BindStructure: dicts, lists and JSON
void BindTools(pyb::module_& m);
void BindCollections(pyb::module_& m);
void BindDB(pyb::module_& m);
void BindExport(pyb::module_& m);  // after BindDB: adds to cls_DB
void BindImport(pyb::module_& m);  // after BindDB: adds to cls_DB
void BindKEL(pyb::module_& m);
void BindKELDB(pyb::module_& m);  // after BindKEL and BindDB: the DB command module
void BindLimits(pyb::module_& m);
void BindSite(pyb::module_& m);
void BindWeb(pyb::module_& m);    // after BindSite: serves a cls_Site
void BindDBWeb(pyb::module_& m);  // before BindWeb: the database browser it mounts
// Last: lets every optional argument take None for "not given" (see py_defaults.cpp).
void AcceptNoneForDefaults(pyb::module_& m);
}  // namespace rykel::py
