"""Records: order and duplicates, paths, file shapes, blobs seen in place, files, damage."""
import gc

import numpy
import pytest

import orvik


def test_duplicates_and_writing_order_are_kept():
    rec = orvik.Record([("x", 1), ("y", "two"), ("x", 3.0)], name="dup")
    for fmt in ("lvz", "lv", "xml", "xml8"):
        back = orvik.loads(orvik.dumps(rec, format=fmt))
        assert back == rec and back.name == "dup"
        assert back.keys() == ["x", "y", "x"]
        assert list(back) == [("x", 1), ("y", "two"), ("x", 3.0)] == back.items()
        assert back["x"] == 1 and back.get_all("x") == [1, 3.0] and back.values()[2] == 3.0
        assert back.to_dict() == {"x": 1, "y": "two"}


def test_lookup_by_name_and_by_path():
    rec = orvik.loads(orvik.dumps({"a": {"b": {"c": 7}, "s": "leaf"}, "dup": 1}))
    assert rec.get("\\a\\b\\c") == 7 == rec.get("a\\b\\c") == rec["a"]["b"]["c"]
    assert rec.get("\\a\\missing", "dflt") == "dflt"
    assert rec.get("\\a\\s\\deeper") is None  # a scalar has no children
    assert rec.get("\\a\\b") == rec["a"]["b"]
    assert "a" in rec and "c" not in rec
    with pytest.raises(KeyError):
        rec["c"]


# The suite's module version record: a single leaf at the top, without a run type.
VERSION_RECORD = b'<variant version="1.0"><KR_GLOB_FILEVERSION_WCS value="1, 0, 0, 0"/></variant>'


def test_a_file_whose_top_is_not_one_list():
    rec = orvik.loads(VERSION_RECORD)
    assert rec.name is None and rec.runtype is None
    assert rec.items() == [("KR_GLOB_FILEVERSION_WCS", "1, 0, 0, 0")]
    for fmt in ("lv", "xml8"):
        assert orvik.loads(orvik.dumps(rec, format=fmt)) == rec
    # Several top-level items exist only in lite variants; XML holds one.
    several = orvik.loads(orvik.dumps(rec, format="lv") + orvik.dumps(rec, format="lv"))
    with pytest.raises(ValueError):
        orvik.dumps(several, format="xml")
    empty = orvik.loads(b'<variant version="1.0"></variant>')
    assert empty.items() == []
    for fmt in ("lv", "xml"):
        with pytest.raises(ValueError):
            orvik.dumps(empty, format=fmt)


def address(view):
    return numpy.frombuffer(view, dtype=numpy.uint8).__array_interface__["data"][0]


@pytest.mark.parametrize("fmt", ["lv", "lvz"])
def test_blobs_are_seen_in_place(fmt):
    image = numpy.arange(4096, dtype=numpy.uint16)
    data = orvik.dumps({"thumbnail": image, "b": b"xyz"}, format=fmt)
    rec = orvik.loads(data)
    first, second = rec["thumbnail"], rec["b"]
    # In place: the second blob's bytes follow the first's after the next item's head (type
    # code, name length, "b" and its terminator, 8-byte length).
    assert address(second) - address(first) == first.nbytes + 1 + 1 + 4 + 8
    assert address(rec["thumbnail"]) == address(first)
    pixels = numpy.frombuffer(first, dtype=numpy.uint16)
    assert not pixels.flags.writeable and (pixels == image).all()
    del rec, first, second
    gc.collect()
    assert (pixels == image).all()  # the view keeps the buffer alive


def test_files(tmp_path):
    rec = orvik.Record({"t": "x" * 1000, "n": 1}, runtype="RKrAcq", name="acq")
    for fmt, mark in [("lv", b"LV00"), ("lvz", b"LV0Z"), ("xml", b"\xff\xfe<\0?\0"), ("xml8", b"<?xml")]:
        path = tmp_path / ("f." + fmt)
        orvik.dump(rec, path, format=fmt)
        assert path.read_bytes().startswith(mark)
        assert orvik.load(str(path)) == orvik.loads(orvik.dumps(rec, format=fmt))
    with pytest.raises(FileNotFoundError):
        orvik.load(tmp_path / "missing")
    with pytest.raises(ValueError, match="unknown format"):
        orvik.dumps(rec, format="json")
    with pytest.raises(TypeError):
        orvik.dumps(5)


def test_utf16_forms_and_text_input():
    wide = orvik.dumps({"s": "\u00e9"}, format="xml")
    assert orvik.loads(wide)["s"] == "\u00e9"
    big = b"\xfe\xff" + wide[2:].decode("utf-16-le").encode("utf-16-be")
    assert orvik.loads(big)["s"] == "\u00e9"
    assert orvik.loads(b"\xef\xbb\xbf" + orvik.dumps({"s": 1}, format="xml8"))["s"] == 1
    assert orvik.loads(orvik.dumps({"s": 1}, format="xml8").decode())["s"] == 1


def fault(data):
    with pytest.raises(orvik.FormatError) as info:
        orvik.loads(data)
    return info.value


def test_damaged_lite_variants_give_the_fault_offset():
    good = orvik.dumps({"a": 1, "b": "text"}, format="lv")
    # The first child "a" starts after the top level's head: code, name length, "no_name"
    # and terminator, child count, level size.
    child = 1 + 1 + 16 + 4 + 8
    assert good[child] == 2  # kr_int32
    damaged = bytearray(good)
    damaged[child] = 42  # no such type code
    err = fault(bytes(damaged))
    assert err.offset == child and isinstance(err, ValueError)
    assert fault(b"LV00" + len(good).to_bytes(8, "little") + good[:-1]).offset == len(good) + 11
    assert fault(b"LV00" + len(good).to_bytes(8, "little") + good + b"!").offset == len(good) + 12
    assert fault(b"LV0Z" + (1000).to_bytes(8, "little") + b"not zlib at all") is not None
    for cut in range(1, len(good)):
        fault(good[:cut])


def test_damaged_xml_gives_the_parser_position():
    data = b'<variant version="1.0"><a runtype="kr_int32" value="1"></variant>'
    err = fault(data)
    where = data.index(b"</variant>") + 2  # expat stands on the end tag's name
    assert "mismatched tag" in str(err) and err.offset == where
    assert "line 1, column %d" % (where + 1) in str(err)
    err = fault(b'<variant version="2.0"><a value="1"/></variant>')
    assert err.offset is None and "structure" in str(err)
    assert fault(b"\xff\xfe<\x00v").offset == 4  # odd UTF-16
    text = orvik.dumps({"a": [1, 2], "b": "s"}, format="xml8")
    for cut in range(1, len(text)):
        fault(text[:cut])


def test_input_that_is_neither_form():
    assert fault(b"").offset == 0
    assert fault(b"\x00garbage").offset == 0
    with pytest.raises(TypeError):
        orvik.loads(12)
