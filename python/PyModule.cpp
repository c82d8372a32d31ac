// The `orvik` Python module: records of the suite's metadata in the lite variant and XML forms.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <utility>
#include <vector>

#include "PyDiag.h"
#include "PyFormats.h"
#include "PyRecord.h"
#include "PyValues.h"

namespace pyb = pybind11;
using namespace orvik::py;

namespace {

PyObject *g_formatError = nullptr;

// Runs `call` with the library's diagnostics collected: a failure carries them in its message,
// a success hands them to Python as warnings.
template <class F>
auto WithDiagnostics(F &&call) {
    DiagCapture diag;
    try {
        auto result = call();
        for (std::wstring const &message : diag.Messages()) {
            if (PyErr_WarnEx(PyExc_RuntimeWarning, ("orvik: " + Utf8(message)).c_str(), 2) != 0)
                throw pyb::error_already_set();
        }
        return result;
    } catch (FormatFault const &fault) {
        std::string const extra = diag.Joined();
        if (extra.empty() || std::string(fault.what()).find(extra) != std::string::npos) throw;
        throw FormatFault(std::string(fault.what()) + " (" + extra + ")", fault.Offset());
    }
}

// Loads from a buffer object (bytes, bytearray, memoryview, mmap, numpy array) in place, or
// from the UTF-8 of a str.
RecordView LoadBuffer(pyb::handle data) {
    pyb::object source = pyb::reinterpret_borrow<pyb::object>(data);
    if (PyUnicode_Check(data.ptr())) source = source.attr("encode")("utf-8", "surrogatepass");
    Py_buffer view;
    if (PyObject_GetBuffer(source.ptr(), &view, PyBUF_C_CONTIGUOUS) != 0) {
        PyErr_Clear();
        throw pyb::type_error(std::string("orvik.loads: expected bytes-like data or str, not ") +
                              Py_TYPE(data.ptr())->tp_name);
    }
    // The lite variant reader takes a copy of its own; XML is parsed from the view.
    struct Release {
        Py_buffer *view;
        ~Release() { PyBuffer_Release(view); }
    } release{&view};
    return WithDiagnostics(
        [&] { return Load(static_cast<unsigned char const *>(view.buf), std::size_t(view.len)); });
}

// The record to write: a Record as it is, anything else through the value mapping.
RecordView RecordOf(pyb::handle obj) {
    if (pyb::isinstance<RecordView>(obj)) return obj.cast<RecordView>();
    Item item = FromPython(obj, kNoName);
    if (item.kind != Kind::List) {
        throw pyb::type_error(std::string("orvik: expected a Record, a mapping or a list, not ") +
                              Py_TYPE(obj.ptr())->tp_name);
    }
    return RecordView{item.name, item.level, false};
}

pyb::bytes DumpBytes(pyb::handle obj, std::string const &format, bool file) {
    FileForm const form = ParseFileForm(format);
    RecordView const record = RecordOf(obj);
    std::string bytes = WithDiagnostics([&] { return Dump(record, form); });
    if (file && form != FileForm::Xml && form != FileForm::Xml8)
        bytes = LiteFileForm(std::move(bytes));
    return pyb::bytes(bytes);
}

Item const &Child(RecordView const &record, pyb::str name) {
    Item const *item = record.level->Find(UnitsFromStr(name));
    if (item == nullptr) {
        PyErr_SetObject(PyExc_KeyError, name.ptr());
        throw pyb::error_already_set();
    }
    return *item;
}

pyb::object PathGet(RecordView const &record, pyb::str path, pyb::object def) {
    std::wstring const units = UnitsFromStr(path);
    Level const *level = record.level.get();
    Item const *found = nullptr;
    std::size_t start = 0;
    while (start <= units.size()) {
        std::size_t end = units.find(L'\\', start);
        if (end == std::wstring::npos) end = units.size();
        if (end > start) {  // empty components (a leading backslash) are skipped
            if (level == nullptr) return def;
            found = level->Find(units.substr(start, end - start));
            if (found == nullptr) return def;
            level = found->kind == Kind::List ? found->level.get() : nullptr;
        }
        start = end + 1;
    }
    if (found == nullptr) return pyb::cast(record);
    return ToPython(*found);
}

// Plain Python data: nested Records become dicts (the first of equally named items wins), a
// non-empty list whose items are all named "no_name" (what a Python list is written as)
// becomes a list.  Walks with an explicit stack.
pyb::object ToPlain(Level const &top) {
    auto isSequence = [](Level const &level) {
        if (level.items.empty()) return false;
        for (Item const &item : level.items) {
            if (item.name != kNoName) return false;
        }
        return true;
    };
    auto container = [&](Level const &level) -> pyb::object {
        if (isSequence(level)) return pyb::list();
        return pyb::dict();
    };
    pyb::object root = container(top);
    std::vector<std::pair<Level const *, pyb::object>> pending{{&top, root}};
    while (!pending.empty()) {
        auto [level, target] = std::move(pending.back());
        pending.pop_back();
        for (Item const &item : level->items) {
            pyb::object value;
            if (item.kind == Kind::List) {
                value = container(*item.level);
                pending.emplace_back(item.level.get(), value);
            } else {
                value = ToPython(item);
            }
            if (PyList_Check(target.ptr())) {
                target.cast<pyb::list>().append(value);
            } else {
                pyb::dict dict = target.cast<pyb::dict>();
                pyb::str key = StrFromUnits(item.name);
                if (!dict.contains(key)) dict[key] = value;
            }
        }
    }
    return root;
}

RecordView MakeRecord(pyb::object items, std::string const &runtype, pyb::str name) {
    if (!IsListRunType(runtype)) {
        throw pyb::value_error("orvik.Record: '" + runtype +
                               "' is not a list run type (the plain list or a record type named "
                               "like a variant)");
    }
    auto level = std::make_shared<Level>();
    level->runtype = runtype;
    if (!items.is_none()) {
        pyb::object pairs = pyb::hasattr(items, "items") ? items.attr("items")() : items;
        for (pyb::handle pair : pairs) {
            if (!PyTuple_Check(pair.ptr()) && !PyList_Check(pair.ptr()))
                throw pyb::type_error("orvik.Record: items must be (str, value) pairs");
            pyb::sequence kv = pyb::reinterpret_borrow<pyb::sequence>(pair);
            if (kv.size() != 2 || !PyUnicode_Check(kv[0].ptr()))
                throw pyb::type_error("orvik.Record: items must be (str, value) pairs");
            level->items.push_back(FromPython(kv[1], ItemName(kv[0])));
        }
    }
    return RecordView{ItemName(name), std::move(level), false};
}

pyb::str Repr(RecordView const &record) {
    std::string text = "<orvik.Record";
    if (record.document) {
        text += " (top of a file)";
    } else {
        text += " '" + Utf8(record.name) + "' runtype=" + record.level->runtype;
    }
    text += " items=" + std::to_string(record.level->items.size()) + ">";
    return pyb::str(text);
}

}  // namespace

PYBIND11_MODULE(_orvik, m) {
    m.doc() =
        "Records of the suite's metadata: the variant tree in its lite variant (binary) and XML "
        "forms.\n\n"
        "load/loads read either form (detected from the content) into a Record; dump/dumps write "
        "a Record, a mapping or a list in the form chosen with format= ('lvz', 'lv', 'xml', "
        "'xml8').  Damaged input raises FormatError.";

    g_formatError = PyErr_NewExceptionWithDoc(
        "orvik.FormatError",
        "Damaged or unrecognised input.  `offset` is the byte offset of the fault when known "
        "(for a compressed lite variant: in the inflated data), else None.",
        PyExc_ValueError, nullptr);
    m.add_object("FormatError", pyb::handle(g_formatError));
    pyb::register_exception_translator([](std::exception_ptr p) {
        try {
            if (p) std::rethrow_exception(p);
        } catch (FormatFault const &fault) {
            pyb::object error = pyb::reinterpret_borrow<pyb::object>(g_formatError)(fault.what());
            auto const offset = fault.Offset();
            error.attr("offset") = offset ? pyb::object(pyb::int_(*offset)) : pyb::none();
            PyErr_SetObject(g_formatError, error.ptr());
        }
    });

    pyb::class_<BlobExporter>(m, "_Bytes", pyb::buffer_protocol()).def_buffer([](BlobExporter &b) {
        static unsigned char const kEmpty = 0;
        void *data = const_cast<unsigned char *>(b.blob.size ? b.blob.data : &kEmpty);
        return pyb::buffer_info(data, 1, pyb::format_descriptor<unsigned char>::format(), 1,
                                {pyb::ssize_t(b.blob.size)}, {pyb::ssize_t(1)}, true);
    });

    pyb::class_<RecordView>(m, "Record",
                            "An ordered, read-only record: duplicate names and writing order are "
                            "kept.  Iterating gives (name, value) pairs.")
        .def(pyb::init(&MakeRecord), pyb::arg("items") = pyb::none(), pyb::kw_only(),
             pyb::arg("runtype") = kPlainList, pyb::arg("name") = pyb::str("no_name"),
             "A record from a mapping or from (name, value) pairs (names may repeat).")
        .def_property_readonly(
            "name",
            [](RecordView const &r) -> pyb::object {
                if (r.document) return pyb::none();
                return StrFromUnits(r.name);
            },
            "The record's own name (None for the top of a file holding several items).")
        .def_property_readonly(
            "runtype",
            [](RecordView const &r) -> pyb::object {
                if (r.document) return pyb::none();
                return pyb::str(r.level->runtype);
            },
            "'CKrListVariant' for a plain list, else the record type's name.")
        .def("__len__", [](RecordView const &r) { return r.level->items.size(); })
        .def("__iter__",
             [](RecordView const &r) {
                 pyb::list pairs;
                 for (Item const &item : r.level->items)
                     pairs.append(pyb::make_tuple(StrFromUnits(item.name), ToPython(item)));
                 return pyb::iter(pairs);
             })
        .def("__getitem__",
             [](RecordView const &r, pyb::str name) { return ToPython(Child(r, name)); })
        .def("__contains__",
             [](RecordView const &r, pyb::str name) {
                 return r.level->Find(UnitsFromStr(name)) != nullptr;
             })
        .def("get", &PathGet, pyb::arg("path"), pyb::arg("default") = pyb::none(),
             "The value at a backslash-separated path ('\\\\a\\\\b' or 'a\\\\b'; each step takes "
             "the first item of that name), or default.")
        .def(
            "get_all",
            [](RecordView const &r, pyb::str name) {
                std::wstring const units = UnitsFromStr(name);
                pyb::list values;
                for (Item const &item : r.level->items)
                    if (item.name == units) values.append(ToPython(item));
                return values;
            },
            "Every value of that name, in order.")
        .def("keys",
             [](RecordView const &r) {
                 pyb::list names;
                 for (Item const &item : r.level->items) names.append(StrFromUnits(item.name));
                 return names;
             })
        .def("values",
             [](RecordView const &r) {
                 pyb::list values;
                 for (Item const &item : r.level->items) values.append(ToPython(item));
                 return values;
             })
        .def("items",
             [](RecordView const &r) {
                 pyb::list pairs;
                 for (Item const &item : r.level->items)
                     pairs.append(pyb::make_tuple(StrFromUnits(item.name), ToPython(item)));
                 return pairs;
             })
        .def(
            "runtype_of",
            [](RecordView const &r, pyb::str name) {
                return std::string(Child(r, name).RunType());
            },
            "The run type of the first item of that name ('kr_uint32', 'CKrStringW', ...).")
        .def(
            "to_dict", [](RecordView const &r) { return ToPlain(*r.level); },
            "Plain dicts (the first of equally named items wins; lists of unnamed items become "
            "lists).")
        .def("__eq__",
             [](RecordView const &a, pyb::object other) -> pyb::object {
                 if (!pyb::isinstance<RecordView>(other))
                     return pyb::reinterpret_borrow<pyb::object>(Py_NotImplemented);
                 RecordView const &b = other.cast<RecordView const &>();
                 return pyb::bool_(a.document == b.document && Equal(a.AsItem(), b.AsItem()));
             })
        .def("__repr__", &Repr)
        .attr("__hash__") = pyb::none();
    m.attr("Record").attr("__module__") = "orvik";

    m.def(
        "loads", [](pyb::handle data) { return LoadBuffer(data); }, pyb::arg("data"),
        "A Record from a lite variant buffer (plain or 'LV0Z', or the 'LV00' file form) or the "
        "XML form (UTF-8, or UTF-16 with a byte-order mark).  Raises FormatError.");
    m.def(
        "load",
        [](pyb::object path) {
            pyb::object file = pyb::module_::import("io").attr("open")(path, "rb");
            pyb::object data = file.attr("__enter__")();
            pyb::bytes bytes;
            try {
                bytes = data.attr("read")();
            } catch (...) {
                file.attr("__exit__")(pyb::none(), pyb::none(), pyb::none());
                throw;
            }
            file.attr("__exit__")(pyb::none(), pyb::none(), pyb::none());
            return LoadBuffer(bytes);
        },
        pyb::arg("path"), "loads() of a file's contents.");
    m.def(
        "dumps",
        [](pyb::handle obj, std::string const &format) { return DumpBytes(obj, format, false); },
        pyb::arg("obj"), pyb::arg("format") = "lvz",
        "The bytes of a Record, mapping or list: 'lvz' the compressed lite variant (plain when "
        "zlib cannot shrink it), 'lv' the plain buffer, 'xml' UTF-16 with byte-order mark, "
        "'xml8' UTF-8.  Raises ValueError for data the form cannot hold as it is.");
    m.def(
        "dump",
        [](pyb::handle obj, pyb::object path, std::string const &format) {
            pyb::bytes bytes = DumpBytes(obj, format, true);
            pyb::object file = pyb::module_::import("io").attr("open")(path, "wb");
            pyb::object out = file.attr("__enter__")();
            try {
                out.attr("write")(bytes);
            } catch (...) {
                file.attr("__exit__")(pyb::none(), pyb::none(), pyb::none());
                throw;
            }
            file.attr("__exit__")(pyb::none(), pyb::none(), pyb::none());
        },
        pyb::arg("obj"), pyb::arg("path"), pyb::arg("format") = "lvz",
        "dumps() into a file; a plain lite variant is written in its 'LV00' file form.");
}
