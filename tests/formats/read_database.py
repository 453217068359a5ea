#!/usr/bin/env python3
"""Prints what a database folder holds, as JSON.

Written from docs/file-formats.md alone and without any of the program's code: what the two
disagree about is a fault in one of them. Reads only; Python's standard library is enough.

    read_database.py FOLDER
"""

import json
import math
import os
import struct
import sys


class Damaged(Exception):
    """A file is not what the format says."""


# --- checksums

def _crc_table():
    table = []
    for byte in range(256):
        value = byte
        for _ in range(8):
            value = (value >> 1) ^ (0x95AC9329AC4BC9B5 if value & 1 else 0)
        table.append(value)
    return table


CRC_TABLE = _crc_table()
ALL_ONES = (1 << 64) - 1


def crc64(data):
    value = ALL_ONES
    for byte in data:
        value = (value >> 8) ^ CRC_TABLE[(value ^ byte) & 0xFF]
    return value ^ ALL_ONES


def _crc32c_table():
    table = []
    for byte in range(256):
        value = byte
        for _ in range(8):
            value = (value >> 1) ^ (0x82F63B78 if value & 1 else 0)
        table.append(value)
    return table


CRC32C_TABLE = _crc32c_table()


def crc32c(data):
    value = 0xFFFFFFFF
    for byte in data:
        value = (value >> 8) ^ CRC32C_TABLE[(value ^ byte) & 0xFF]
    return value ^ 0xFFFFFFFF


def signed(value, bits=64):
    return value - (1 << bits) if value >> (bits - 1) else value


# --- the imploded stream

LENGTH_CODE_BITS = [2, 3, 3, 3, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 7, 7]
LENGTH_BASE = [3, 2, 4, 5, 6, 7, 8, 9, 10, 12, 16, 24, 40, 72, 136, 264]
LENGTH_EXTRA = [0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8]
DISTANCE_CODE_BITS = [2] + [4] * 2 + [5] * 4 + [6] * 15 + [7] * 26 + [8] * 16
LITERAL_CODE_BITS = [int(digit, 16) for digit in (
    "BCCCCCCCC87CC7CC" "CCCCCCCCCCDCCCCC"
    "4A8CACA877897678" "76777787788CB79B"
    "C676657886B96766" "7B66679899B8B9C8"
    "C566656665B75655" "6A55558788ABBCCC"
    "DDDDDDDDDDDDDDDD" "DDDDDDDDDDDDDDDD"
    "DDDDDDDDDDDDDDDD" "CCCCCCCCCCCCCCCC"
    "CCCCCCCCCCCCCCCC" "CCCCCCCCCCCCCCCC"
    "DCDDDCDDDCDDDDCD" "DDCCCDDDDDDDDDDD")]


def make_decoder(code_bits):
    """(code length, code) -> symbol; codes count up from the shortest, all bits inverted."""
    decoder = {}
    code = 0
    for bits in range(1, 14):
        code <<= 1
        for symbol, symbol_bits in enumerate(code_bits):
            if symbol_bits == bits:
                decoder[bits, code ^ ((1 << bits) - 1)] = symbol
                code += 1
    return decoder


LENGTHS = make_decoder(LENGTH_CODE_BITS)
DISTANCES = make_decoder(DISTANCE_CODE_BITS)
LITERALS = make_decoder(LITERAL_CODE_BITS)


class Bits:
    """Bits of a byte string, lowest of each byte first."""

    def __init__(self, data):
        self.data = data
        self.at = 0

    def bit(self):
        byte, shift = divmod(self.at, 8)
        if byte >= len(self.data):
            raise Damaged("a compressed text stops before its end")
        self.at += 1
        return self.data[byte] >> shift & 1

    def number(self, count):
        return sum(self.bit() << place for place in range(count))

    def symbol(self, decoder):
        code = 0
        for bits in range(1, 14):
            code = code << 1 | self.bit()
            if (bits, code) in decoder:
                return decoder[bits, code]
        raise Damaged("a compressed text holds an unknown code")


def explode(data):
    if len(data) < 2 or data[0] > 1 or not 4 <= data[1] <= 6:
        raise Damaged("a compressed text begins with an unknown header")
    ascii_literals, dictionary_bits = data[0] == 1, data[1]
    bits = Bits(data[2:])
    out = bytearray()
    while True:
        if bits.bit() == 0:
            out.append(bits.symbol(LITERALS) if ascii_literals else bits.number(8))
            continue
        symbol = bits.symbol(LENGTHS)
        length = LENGTH_BASE[symbol] + bits.number(LENGTH_EXTRA[symbol])
        if length == 519:
            return bytes(out)
        low_bits = 2 if length == 2 else dictionary_bits
        distance = (bits.symbol(DISTANCES) << low_bits) + bits.number(low_bits) + 1
        if distance > len(out):
            raise Damaged("a compressed text copies from before its start")
        for _ in range(length):
            out.append(out[-distance])


# --- the folder, with what the journal still has to bring in

def check_header(data, signature, newest, size):
    marked = signature.encode() + b"\0"
    if len(data) < size or data[:len(marked)] != marked:
        raise Damaged("not a file of the kind " + signature)
    version = struct.unpack_from("<i", data, 50)[0]
    if version > newest:
        raise Damaged(signature + ": written by a newer version")
    return version


def text_field(data, offset, size=120):
    return data[offset:offset + size].split(b"\0")[0].decode()


def journal_groups(data, database_id):
    check_header(data, "Journal", 1, 78)
    owner, salt, checksum = struct.unpack_from("<QQQ", data, 54)
    if checksum != crc64(data[:70]):
        raise Damaged("the journal's header is broken")
    if database_id is not None and owner != database_id:
        raise Damaged("the journal belongs to another database")
    salt_bytes = struct.pack("<Q", salt)
    at, expected, previous = 4096, 1, salt
    while at + 48 <= len(data):
        magic, count, sequence, length, before, payload_sum, head_sum = struct.unpack_from(
            "<4sIQQQQQ", data, at)
        payload = data[at + 48:at + 48 + length]
        if (magic != b"QGRP" or head_sum != crc64(salt_bytes + data[at:at + 40])
                or (sequence, before) != (expected, previous) or len(payload) != length
                or payload_sum != crc64(salt_bytes + payload)):
            break
        yield count, payload
        expected, previous = expected + 1, head_sum
        at += (48 + length + 4095) // 4096 * 4096


PAGE = 4096


def page_count(size):
    return (size + PAGE - 1) // PAGE


def read_sums(data, database_id):
    """{name: (size, [checksum of each page])}, or None when the file is not about these."""
    version = check_header(data, "Checksums", 1, 74)
    owner, page_size, count = struct.unpack_from("<Qii", data, 54)
    if struct.unpack_from("<I", data, len(data) - 4)[0] != crc32c(data[:-4]):
        raise Damaged("the checksums are damaged themselves")
    if version != 1 or page_size != PAGE:
        raise Damaged("the checksums are of an unknown kind")
    sums, at = {}, 70
    for _ in range(count):
        name_size, size = struct.unpack_from("<Hq", data, at)
        at += 10
        name = data[at:at + name_size].decode()
        at += name_size
        pages = page_count(size)
        sums[name] = size, list(struct.unpack_from("<%dI" % pages, data, at))
        at += 4 * pages
    if at != len(data) - 4:
        raise Damaged("the checksums do not end where they should")
    return sums if database_id in (None, owner) else None


def take_sums(sums, name, offset, data):
    """Of a group: the file's size and the checksums of pages from `offset` on."""
    size = struct.unpack_from("<q", data)[0]
    fresh = struct.unpack_from("<%dI" % ((len(data) - 8) // 4), data, 8)
    first = offset // PAGE
    pages = sums.get(name, (0, []))[1][:page_count(size)]
    pages += [None] * (max(first + len(fresh), len(pages)) - len(pages))
    pages[first:first + len(fresh)] = fresh
    sums[name] = size, pages


def check_pages(files, sums):
    for name, (size, pages) in sums.items():
        if len(files.get(name, b"")) != size or name not in files:
            raise Damaged(name + " is missing, or has not the size that was written")
        for page, expected in enumerate(pages):
            if crc32c(files[name][page * PAGE:(page + 1) * PAGE]) != expected:
                raise Damaged("%s: page %d is not what was written" % (name, page))


def replay(files, sums, count, payload):
    at = 0
    for _ in range(count):
        kind, name_size, offset, data_size = struct.unpack_from("<BHqQ", payload, at)
        at += 19
        name = payload[at:at + name_size].decode()
        at += name_size
        data = payload[at:at + data_size]
        at += data_size
        if kind == 6:
            if sums is not None:
                take_sums(sums, name, offset, data)
        elif kind == 4:
            files.pop(name, None)
            if sums is not None:
                sums.pop(name, None)
        elif kind == 5:
            if name in files:
                files[data.decode()] = files.pop(name)
        else:
            file = bytearray() if kind == 1 else files.get(name, bytearray())
            if kind == 2:
                file = file[:offset] + bytes(max(offset - len(file), 0))
            if kind == 3:
                file = file.ljust(offset, b"\0")
                file[offset:offset + len(data)] = data
            files[name] = file


def read_folder(folder):
    files = {}
    for name in os.listdir(folder):
        path = os.path.join(folder, name)
        if os.path.isfile(path):
            with open(path, "rb") as file:
                files[name] = bytearray(file.read())
    database_id = None
    if "Database.lock" in files:
        lock = bytes(files["Database.lock"])
        check_header(lock, "DatabaseLock", 1, 70)
        database_id, checksum = struct.unpack_from("<QQ", lock, 54)
        if checksum != crc64(lock[:62]):
            raise Damaged("the lock file is broken")
    sums = None
    if "Checksums.dat" in files:
        sums = read_sums(bytes(files["Checksums.dat"]), database_id)
    if "Journal.dat" in files:
        for count, payload in journal_groups(bytes(files["Journal.dat"]), database_id):
            replay(files, sums, count, payload)
    if sums is not None:
        check_pages(files, sums)
    return files


# --- stores

def blocks_of(files, name):
    data = files[name]
    version = check_header(data, "Data", 2, 54)
    return bytes(data[62 if version == 1 else 54:])


def free_blocks(files, data_name):
    name = data_name.replace(".", "_del.")
    if name not in files:
        return []
    data = files[name]
    check_header(data, "DeletedBlock", 1, 58)
    count = struct.unpack_from("<i", data, 54)[0]
    return [list(struct.unpack_from("<qq", data, 58 + 16 * i)) for i in range(count)]


def dictionary(files, name):
    """(next id, {id: (position, size)}) of the live entries."""
    data = files[name]
    check_header(data, "Dictionary", 1, 62)
    next_id = struct.unpack_from("<q", data, 54)[0]
    seen = {}
    for at in range(62, len(data) - 35, 36):
        entry, _, position, size, deleted = struct.unpack_from("<qqqqi", data, at)
        if entry >= 0 and entry not in seen:
            seen[entry] = None if deleted else (position, size)
    next_id = max([next_id] + [entry + 1 for entry in seen])
    return next_id, {entry: place for entry, place in seen.items() if place}


def block(blocks, place):
    position, size = place
    if position < 0 or size < 0 or position + size > len(blocks):
        raise Damaged("an entry points out of its file")
    return blocks[position:position + size]


def text(record):
    flag, length = record[0], struct.unpack_from("<q", record, 2)[0]
    content = record[10:] if flag == 0 else explode(record[10:])
    if len(content) != length or content.find(b"\0") != length - 1:
        raise Damaged("a text has not the length it says")
    return content[:-1].decode()


# --- tables

FORMATS = {0: "q", 1: "B", 2: "i", 3: "q", 4: "d", 5: "q"}
TYPES = ["text", "boolean", "int32", "int64", "double", "datetime"]


def as_json(kind, value):
    if kind == 1:
        return value != 0
    if kind == 4 and not math.isfinite(value):
        return str(value)
    return value


def key_of(kind, value):
    if kind == 0:
        return signed(crc64((value or "").encode()))
    if kind == 4:
        return struct.unpack("<q", struct.pack("<d", value))[0]
    return int(value)


def index_entries(files, name):
    data = files[name]
    check_header(data, "Index", 1, 72)
    entries = {}
    for at in range(72, len(data) - 19, 20):
        row, key, deleted = struct.unpack_from("<qqi", data, at)
        if not deleted:
            entries[row] = key
    return entries


def read_table(files, number, name, definition_name):
    base = "Table_%d" % number
    table = {"number": number, "name": name, "columns": [], "rows": []}
    if definition_name not in files:
        return table
    definition = files[definition_name]
    check_header(definition, "TableDefinition", 1, 182)
    own_number, count = struct.unpack_from("<ii", definition, 54)
    if own_number != number or text_field(definition, 62) != name:
        raise Damaged(definition_name + " describes another table")
    columns = []
    for i in range(count):
        at = 182 + 246 * i
        kind, indexed, attribute = struct.unpack_from("<iBB", definition, at + 240)
        columns.append((text_field(definition, at), text_field(definition, at + 120), kind,
                        indexed != 0, attribute != 0))
    _, text_places = dictionary(files, base + "_textdict.dat")
    text_blocks = blocks_of(files, base + "_textdata.dat")
    next_row, row_places = dictionary(files, base + "_dict.dat")
    row_blocks = blocks_of(files, base + "_data.dat")
    row_format = "<" + "".join(FORMATS[column[2]] for column in columns)
    keys = [{} for _ in columns]
    for row, place in sorted(row_places.items()):
        values = list(struct.unpack(row_format, block(row_blocks, place)))
        for i, (_, _, kind, _, _) in enumerate(columns):
            if kind == 0:
                values[i] = None if values[i] == -1 else text(
                    block(text_blocks, text_places[values[i]]))
            keys[i][row] = key_of(kind, values[i])
        table["rows"].append({"id": row, "values": [
            as_json(column[2], value) for column, value in zip(columns, values)]})
    for i, (column, file, kind, indexed, attribute) in enumerate(columns):
        if indexed and index_entries(files, file) != keys[i]:
            raise Damaged(file + " does not agree with the rows")
        table["columns"].append({"name": column, "type": TYPES[kind], "indexed": indexed,
                                 "attribute": attribute})
    table["nextRowId"] = next_row
    table["freeRowBlocks"] = free_blocks(files, base + "_data.dat")
    return table


# --- the history

class Fields:
    """Numbers and texts of a part, one behind the other."""

    def __init__(self, data, at):
        self.data = data
        self.at = at

    def number(self, code):
        value = struct.unpack_from("<" + code, self.data, self.at)[0]
        self.at += struct.calcsize(code)
        return value

    def text(self, length_code):
        length = self.number(length_code)
        if self.at + length > len(self.data):
            raise Damaged("a text of the history does not end")
        self.at += length
        return bytes(self.data[self.at - length:self.at]).decode()

    def value(self, kind):
        # Doubles by their bits, so that every one can be told from any other.
        return self.text("I") if kind == 0 else self.number("q" if kind == 4 else FORMATS[kind])


def read_history_table(fields):
    columns = fields.number("H")
    table = {"added": fields.number("I"), "changed": fields.number("I"),
             "deleted": fields.number("I"), "first": fields.number("q"),
             "last": fields.number("q"), "name": fields.text("H"), "columns": []}
    for _ in range(columns):
        kind = fields.number("B")
        table["columns"].append((kind, fields.text("H")))
    return table


def read_change(fields, tables):
    action = ["", "added", "changed", "deleted"][fields.number("B")]
    table = tables[fields.number("H")]
    change = {"action": action, "table": table["name"], "row": fields.number("q"), "values": {}}
    bits = [fields.number("B") for _ in range((len(table["columns"]) + 7) // 8)]
    for place, (kind, name) in enumerate(table["columns"]):
        if bits[place // 8] >> place % 8 & 1:
            values = 2 if action == "changed" else 1
            change["values"][name] = [fields.value(kind) for _ in range(values)]
    return change


def read_part(data):
    if data[:4] != b"HPRT" or struct.unpack_from("<Q", data, len(data) - 12)[0] != crc64(data[:-12]):
        raise Damaged("a part of the history is damaged")
    fields = Fields(data, 8)
    part = {"number": fields.number("q"), "time": fields.number("q"), "kind": fields.number("H")}
    tables, changes = fields.number("H"), fields.number("I")
    part["subject"], part["label"] = fields.number("q"), fields.text("H")
    tables = [read_history_table(fields) for _ in range(tables)]
    part["tables"] = [{key: table[key] for key in table if key != "columns"} for table in tables]
    part["changes"] = [read_change(fields, tables) for _ in range(changes)]
    if fields.at != len(data) - 12:
        raise Damaged("a part of the history does not end where it should")
    return part


def read_history(files):
    if "History.dat" not in files:
        return None
    data = files["History.dat"]
    check_header(data, "History", 1, 102)
    following, at, done, end, actions, checksum = struct.unpack_from("<qqqqqQ", data, 54)
    if checksum != crc64(data[:94]):
        raise Damaged("the history's header is broken")
    parts = []
    while at < end:
        length = struct.unpack_from("<I", data, at + 4)[0]
        if at + length > end or struct.unpack_from("<I", data, at + length - 4)[0] != length:
            raise Damaged("a part of the history has two lengths")
        parts.append(read_part(bytes(data[at:at + length])))
        parts[-1]["done"] = at < done
        at += length
    if len({part["number"] for part in parts}) != actions:
        raise Damaged("the history does not hold as many actions as it says")
    return {"next": following, "parts": parts}


def read_database(folder):
    files = read_folder(folder)
    schema = files["DatabaseSchema.dat"]
    check_header(schema, "Database", 1, 62)
    tables = []
    for i in range(struct.unpack_from("<i", schema, 54)[0]):
        at = 62 + 244 * i
        number = struct.unpack_from("<i", schema, at)[0]
        tables.append(read_table(files, number, text_field(schema, at + 4),
                                 text_field(schema, at + 124)))
    _, places = dictionary(files, "DatabaseSchema_blobdict.dat")
    blocks = blocks_of(files, "DatabaseSchema_blobdata.dat")
    blobs = [{"id": blob, "hex": block(blocks, place).hex()}
             for blob, place in sorted(places.items())]
    content = {"tables": tables, "blobs": blobs}
    history = read_history(files)
    return content if history is None else dict(content, history=history)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: read_database.py FOLDER")
    try:
        content = read_database(sys.argv[1])
    except (Damaged, OSError, KeyError, struct.error) as error:
        sys.exit("%s: %s" % (sys.argv[1], error))
    json.dump(content, sys.stdout, indent=1, ensure_ascii=False, allow_nan=False)
    print()


if __name__ == "__main__":
    main()
