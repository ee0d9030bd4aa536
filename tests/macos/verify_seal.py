#!/usr/bin/env python3
"""verify_seal.py Orvane.app [NAME…]: judges the bundle's ad-hoc signature as `codesign --verify --strict` does, by code that shares nothing
with what wrote it: every file is in the list of sealed files and is what the list says, programs lying inside bear signatures of their
own, which the list names, and each slice of the main program's covers its pages, Info.plist and the list. Each NAME (MacOS/orvaned) must
be among what is sealed."""
import hashlib, os, plistlib, re, struct, sys

PROCESSORS = {0x0100000C: "arm64", 0x01000007: "x86_64"}
MAY_BE_OMITTED = {r"^(.*/)?\.DS_Store$", r"^Info\.plist$", "^PkgInfo$", r"^Resources/.*\.lproj/locversion.plist$"}
NO_DEMANDS = bytes.fromhex("fade0c01 0000000c 00000000")


class Broken(Exception):
    pass


def need(condition, message):
    if not condition:
        raise Broken(message)


def slices(data, name):
    if data[:4] == b"\xcf\xfa\xed\xfe":
        yield data
        return
    need(data[:4] == b"\xca\xfe\xba\xbe", f"{name} is no program for macOS")
    end = 8
    for i in range(int.from_bytes(data[4:8], "big")):
        _, _, offset, size, align = struct.unpack(">5I", data[8 + 20 * i : 28 + 20 * i])
        need(offset % (1 << align) == 0 and offset >= end, f"{name}: slice {i} lies wrongly")
        need(not any(data[max(end, 28 + 20 * i) : offset]) or i == 0, f"{name}: something is between the slices")
        end = offset + size
        yield data[offset:end]
    need(end == len(data), f"{name}: something follows the last slice")


def commands(macho):
    count, size = struct.unpack("<II", macho[16:24])
    at = 32
    for _ in range(count):
        command, length = struct.unpack("<II", macho[at : at + 8])
        yield command, macho[at : at + length]
        at += length
    need(at == 32 + size, "the load commands do not fill their room")


def signature_of(macho):
    """Where the signature lies, and its parts by their kind."""
    places = [struct.unpack("<II", body[8:16]) for command, body in commands(macho) if command == 0x1D]
    need(len(places) == 1, "there is no signature")
    start, size = places[0]
    need(start % 16 == 0 and start + size == len(macho), "the signature does not end the slice")
    for command, body in commands(macho):
        if command == 0x19 and body[8:24].rstrip(b"\0") == b"__LINKEDIT":
            memory, offset, length = struct.unpack("<QQQ", body[32:56])
            need(offset + length == len(macho) and memory >= length and memory % 0x1000 == 0, "__LINKEDIT does not end the slice")
    magic, length, count = struct.unpack(">III", macho[start : start + 12])
    need(magic == 0xFADE0CC0 and length <= size and not any(macho[start + length :]), "the signature's frame is damaged")
    parts = {}
    for i in range(count):
        kind, offset = struct.unpack(">II", macho[start + 12 + 8 * i : start + 20 + 8 * i])
        length, = struct.unpack(">I", macho[start + offset + 4 : start + offset + 8])
        parts[kind] = macho[start + offset : start + offset + length]
    return start, parts


def verify_slice(macho, identifier, info, resources):
    """Returns the hash by which the signature is known."""
    start, parts = signature_of(macho)
    need(set(parts) >= {0, 2} and parts[2] == NO_DEMANDS, "the signature's parts are not those of an ad-hoc signature")
    directory = parts[0]
    magic, _, version, flags, hashes, name, specials, pages, limit = struct.unpack(">9I", directory[:36])
    hash_size, hash_kind, _, page_bits = directory[36:40]
    need(magic == 0xFADE0C02 and version >= 0x20400 and flags & ~0x20000 == 2, f"flags {flags:#x}, version {version:#x}")
    need((hash_size, hash_kind) == (32, 2), "the hashes are not SHA-256")
    need(directory[name : directory.index(b"\0", name)].decode() == identifier, f"the signature is not {identifier}'s")
    need(limit == start, "the signature does not cover everything before it")
    text = next(struct.unpack("<QQ", body[40:56]) for command, body in commands(macho) if command == 0x19 and body[8:16] == b"__TEXT\0\0")
    need(struct.unpack(">QQQ", directory[64:88]) == (*text, 1), "the signature does not name the program's text")

    def slot(number):
        at = hashes + 32 * number
        return directory[at : at + 32]

    page = 1 << page_bits
    need(pages == -(-limit // page), "pages are missing")
    for i in range(pages):
        need(slot(i) == hashlib.sha256(macho[i * page : min((i + 1) * page, limit)]).digest(), f"page {i} was changed")
    for number, what, covered in ((1, "Info.plist", info), (2, "requirements", NO_DEMANDS), (3, "CodeResources", resources)):
        held = slot(-number) if number <= specials else bytes(32)
        need(held == (hashlib.sha256(covered).digest() if covered else bytes(32)), f"the signature does not cover this {what}")
    return hashlib.sha256(directory).hexdigest()[:40]


def verify_program(path, identifier, info=None, resources=None):
    with open(path, "rb") as file:
        data = file.read()
    found = []
    for macho in slices(data, os.path.basename(path)):
        cpu = PROCESSORS.get(struct.unpack("<I", macho[4:8])[0], "an unknown processor")
        try:
            found.append(verify_slice(macho, identifier, info, resources))
        except Broken as error:
            raise Broken(f"{os.path.basename(path)} for {cpu}: {error}") from None
    return found


def heaviest(name, rules):
    """The rule that holds for the file, as a dictionary."""
    best = {"omit": True, "weight": 0}
    for pattern, rule in rules.items():
        rule = rule if isinstance(rule, dict) else {}
        weight = rule.get("weight", 1)
        if re.search(pattern, name) and weight > best["weight"]:
            best = {**rule, "weight": weight}
    return best


def verify_rules(rules):
    for pattern, rule in rules.items():
        need(not (isinstance(rule, dict) and rule.get("omit")) or pattern in MAY_BE_OMITTED, f"the seal leaves out {pattern}")
    need(rules.get("^.*") is True, "the seal does not hold every file")


def verify_file(path, name, entry, identifier):
    if "requirement" in entry:
        hashes = verify_program(path, f"{identifier.rpartition('.')[0]}.{os.path.basename(name)}")
        need(re.findall(r'cdhash H"(\w+)"', entry["requirement"]) == hashes, f"{name} is another program than the sealed one")
        need(entry["cdhash"].hex() in hashes, f"{name} is known by another hash")
    elif os.path.islink(path):
        need(entry.get("symlink") == os.readlink(path), f"{name} leads elsewhere")
    else:
        with open(path, "rb") as file:
            need(entry.get("hash2") == hashlib.sha256(file.read()).digest(), f"{name} was changed")


def files_below(contents):
    for folder, folders, names in os.walk(contents):
        for name in names + [name for name in folders if os.path.islink(os.path.join(folder, name))]:
            yield os.path.relpath(os.path.join(folder, name), contents)


def verify(app, wanted):
    contents = os.path.join(app, "Contents")
    with open(os.path.join(contents, "Info.plist"), "rb") as file:
        info = file.read()
    facts = plistlib.loads(info)
    identifier, main = facts["CFBundleIdentifier"], f"MacOS/{facts['CFBundleExecutable']}"
    with open(os.path.join(contents, "_CodeSignature/CodeResources"), "rb") as file:
        resources = file.read()
    seal = plistlib.loads(resources)
    verify_rules(seal["rules2"])

    left = dict(seal["files2"])
    for name in files_below(contents):
        rule = heaviest(name, seal["rules2"])
        if name == main or name == "_CodeSignature/CodeResources" or rule.get("omit"):
            continue
        need(name in left, f"{name} is not sealed")
        need(bool(rule.get("nested")) == ("requirement" in left[name]), f"{name} is sealed as what it is not")
        verify_file(os.path.join(contents, name), name, left.pop(name), identifier)
    missing = [name for name, entry in left.items() if not entry.get("optional")]
    need(not missing, f"sealed, but not there: {' '.join(missing)}")
    for name, entry in seal["files"].items():
        with open(os.path.join(contents, name), "rb") as file:
            old = hashlib.sha1(file.read()).digest()
        need(old == (entry["hash"] if isinstance(entry, dict) else entry), f"{name} was changed (old list)")
    for name in wanted:
        need(name in seal["files2"], f"{name} is not in the bundle")
    return verify_program(os.path.join(contents, main), identifier, info, resources), len(seal["files2"])


if __name__ == "__main__":
    try:
        hashes, files = verify(sys.argv[1], sys.argv[2:])
    except (Broken, OSError, KeyError, ValueError, struct.error, plistlib.InvalidFileException) as error:
        sys.exit(f"{sys.argv[1]}: the seal does not hold: {error}")
    print(f"{sys.argv[1]}: sealed ad hoc, {len(hashes)} slices and {files} files; {' '.join(hashes)}")
