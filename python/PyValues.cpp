#include "PyValues.h"

#include <climits>
#include <cstring>
#include <cwchar>
#include <vector>

#include "PyDiag.h"

namespace orvik::py {

namespace pyb = pybind11;

namespace {

// Mappings and sequences nested deeper than this are refused: a structure that contains itself
// would otherwise recurse without end.
constexpr int kMaxPythonDepth = 1000;

// "item '<name>'" for messages; control characters (U+0000 above all, which would end the
// message) are shown as \xNN.
std::string Describe(std::wstring const &name) {
    std::wstring shown;
    for (wchar_t c : name) {
        if (c < 0x20) {
            wchar_t escaped[8];
            std::swprintf(escaped, 8, L"\\x%02x", unsigned(c));
            shown += escaped;
        } else {
            shown += c;
        }
    }
    return "item '" + Utf8(shown) + "'";
}

[[noreturn]] void Refuse(PyObject *kind, std::string const &message) {
    PyErr_SetString(kind, message.c_str());
    throw pyb::error_already_set();
}

void SetInteger(Item &item, pyb::handle value) {
    pyb::object number = pyb::reinterpret_steal<pyb::object>(PyNumber_Index(value.ptr()));
    if (!number) throw pyb::error_already_set();
    int overflow = 0;
    long long const s = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
    if (overflow == 0) {
        if (s == -1 && PyErr_Occurred()) throw pyb::error_already_set();
        item.kind = (s >= INT32_MIN && s <= INT32_MAX) ? Kind::Int32 : Kind::Int64;
        item.i = s;
        return;
    }
    if (overflow > 0) {
        unsigned long long const u = PyLong_AsUnsignedLongLong(number.ptr());
        if (!(u == static_cast<unsigned long long>(-1) && PyErr_Occurred())) {
            item.kind = Kind::UInt64;
            item.u = u;
            return;
        }
        PyErr_Clear();
    }
    Refuse(PyExc_OverflowError,
           "orvik: " + Describe(item.name) + ": integer outside the range of 64-bit items");
}

void SetBytes(Item &item, pyb::handle value) {
    Py_buffer view;
    if (PyObject_GetBuffer(value.ptr(), &view, PyBUF_C_CONTIGUOUS) != 0) {
        PyErr_Clear();
        Refuse(PyExc_TypeError, "orvik: " + Describe(item.name) +
                                    ": a buffer must be C-contiguous to be stored as bytes");
    }
    auto const *begin = static_cast<unsigned char const *>(view.buf);
    auto copy = std::make_shared<std::vector<unsigned char>>(begin, begin + view.len);
    PyBuffer_Release(&view);
    item.kind = Kind::Bytes;
    item.blob = Blob{copy->data(), copy->size(), copy};
}

// A numpy scalar or 0-d array (an object with a dtype and no dimensions).
bool IsArrayScalar(PyObject *object) {
    if (!PyObject_HasAttrString(object, "dtype") || !PyObject_HasAttrString(object, "item"))
        return false;
    PyObject *ndim = PyObject_GetAttrString(object, "ndim");
    if (ndim == nullptr) {
        PyErr_Clear();
        return false;
    }
    bool const scalar = PyLong_Check(ndim) && PyLong_AsLong(ndim) == 0;
    Py_DECREF(ndim);
    return scalar;
}

Item Build(pyb::handle value, std::wstring name, int depth);

std::shared_ptr<Level const> BuildLevel(pyb::handle value, bool mapping, int depth,
                                        std::wstring const &name) {
    auto level = std::make_shared<Level>();
    if (mapping) {
        pyb::object items = pyb::reinterpret_borrow<pyb::object>(value).attr("items")();
        for (pyb::handle pair : items) {
            pyb::tuple kv = pyb::reinterpret_borrow<pyb::object>(pair);
            if (!PyUnicode_Check(kv[0].ptr())) {
                Refuse(PyExc_TypeError, "orvik: " + Describe(name) + ": keys must be str, not " +
                                            std::string(Py_TYPE(kv[0].ptr())->tp_name));
            }
            level->items.push_back(Build(kv[1], ItemName(kv[0]), depth + 1));
        }
    } else {
        for (pyb::handle element : value) {
            level->items.push_back(Build(element, kNoName, depth + 1));
        }
    }
    return level;
}

Item Build(pyb::handle value, std::wstring name, int depth) {
    if (depth >= kMaxPythonDepth) {
        Refuse(PyExc_ValueError,
               "orvik: " + Describe(name) + ": nested too deeply (or contains itself)");
    }
    Item item;
    item.name = std::move(name);
    PyObject *object = value.ptr();
    if (pyb::isinstance<RecordView>(value)) {
        RecordView const &record = value.cast<RecordView const &>();
        if (record.document) {
            Refuse(PyExc_ValueError, "orvik: " + Describe(item.name) +
                                         ": the top of a file cannot be stored inside a record");
        }
        item.kind = Kind::List;
        item.level = record.level;
    } else if (object == Py_None) {
        item.kind = Kind::Null;
    } else if (PyBool_Check(object)) {
        item.kind = Kind::Bool;
        item.b = object == Py_True;
    } else if (PyLong_Check(object)) {
        SetInteger(item, value);
    } else if (PyFloat_Check(object)) {
        item.kind = Kind::Double;
        item.d = PyFloat_AsDouble(object);
    } else if (PyUnicode_Check(object)) {
        item.kind = Kind::String;
        item.text = UnitsFromStr(value);
        if (item.text.find(L'\0') != std::wstring::npos) {
            Refuse(PyExc_ValueError,
                   "orvik: " + Describe(item.name) + ": a string cannot hold U+0000");
        }
    } else if (IsArrayScalar(object)) {
        // numpy scalars and 0-d arrays: stored as the Python scalar they stand for, not as
        // the bytes they also export.
        pyb::object plain = pyb::reinterpret_borrow<pyb::object>(value).attr("item")();
        return Build(plain, std::move(item.name), depth + 1);  // counted: item() may recur
    } else if (PyObject_CheckBuffer(object)) {
        SetBytes(item, value);
    } else if (PyIndex_Check(object)) {
        SetInteger(item, value);
    } else if (PyDict_Check(object) || PyObject_HasAttrString(object, "items")) {
        item.kind = Kind::List;
        item.level = BuildLevel(value, true, depth, item.name);
    } else if (PyList_Check(object) || PyTuple_Check(object)) {
        item.kind = Kind::List;
        item.level = BuildLevel(value, false, depth, item.name);
    } else {
        Refuse(PyExc_TypeError, "orvik: " + Describe(item.name) +
                                    ": cannot store a value of type " +
                                    std::string(Py_TYPE(object)->tp_name));
    }
    return item;
}

}  // namespace

std::wstring ItemName(pyb::handle key) {
    std::wstring name = UnitsFromStr(key);
    if (name.empty()) Refuse(PyExc_ValueError, "orvik: an item name cannot be empty");
    if (name.find(L'\0') != std::wstring::npos)
        Refuse(PyExc_ValueError, "orvik: " + Describe(name) + ": a name cannot hold U+0000");
    return name;
}

pyb::str StrFromUnits(std::wstring const &units) {
    std::vector<char16_t> narrow(units.begin(), units.end());
    int byteorder = -1;  // little-endian, no mark expected
    PyObject *text = PyUnicode_DecodeUTF16(reinterpret_cast<char const *>(narrow.data()),
                                           static_cast<Py_ssize_t>(narrow.size() * 2),
                                           "surrogatepass", &byteorder);
    if (text == nullptr) throw pyb::error_already_set();
    return pyb::reinterpret_steal<pyb::str>(text);
}

std::wstring UnitsFromStr(pyb::handle text) {
    pyb::object encoded = pyb::reinterpret_steal<pyb::object>(
        PyUnicode_AsEncodedString(text.ptr(), "utf-16-le", "surrogatepass"));
    if (!encoded) throw pyb::error_already_set();
    char const *bytes = PyBytes_AS_STRING(encoded.ptr());
    std::size_t const count = static_cast<std::size_t>(PyBytes_GET_SIZE(encoded.ptr())) / 2;
    std::wstring units(count, L'\0');
    for (std::size_t k = 0; k < count; ++k) {
        units[k] = static_cast<wchar_t>(static_cast<unsigned char>(bytes[2 * k]) |
                                        (static_cast<unsigned char>(bytes[2 * k + 1]) << 8));
    }
    return units;
}

pyb::object ToPython(Item const &item) {
    switch (item.kind) {
        case Kind::Null:
            return pyb::none();
        case Kind::Bool:
            return pyb::bool_(item.b);
        case Kind::Int32:
        case Kind::Int64:
            return pyb::int_(static_cast<long long>(item.i));
        case Kind::UInt32:
        case Kind::UInt64:
        case Kind::VoidPtr:
            return pyb::int_(static_cast<unsigned long long>(item.u));
        case Kind::Double:
            return pyb::float_(item.d);
        case Kind::String:
            return StrFromUnits(item.text);
        case Kind::Bytes:
            return pyb::memoryview(pyb::cast(BlobExporter{item.blob}));
        case Kind::List:
            return pyb::cast(RecordView{item.name, item.level, false});
    }
    return pyb::none();
}

Item FromPython(pyb::handle value, std::wstring name) { return Build(value, std::move(name), 0); }

}  // namespace orvik::py
