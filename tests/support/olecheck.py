#!/usr/bin/python3
"""Outside views of compound files for the storage tests, independent of the library.

  olecheck.py dump FILE   lists FILE as the olefile package reads it
  olecheck.py write FILE  lays out a known tree in FILE with the writer below, and lists the tree

A listing has one line per element, sorted:
  D <path> <class id or ->
  S <path> <size> <bytes in hex>
Paths join names with '/', the root is '/'; a character outside printable ASCII is written as
\\u{hex code}.
"""
import struct
import sys


def escape(name):
    return ''.join(c if 0x20 < ord(c) < 0x7F and c not in '\\/' else '\\u{%x}' % ord(c) for c in name)


def clsid_text(raw):
    if raw == bytes(16):
        return '-'
    d1, d2, d3 = struct.unpack('<IHH', raw[:8])
    return '%08X-%04X-%04X-%s-%s' % (d1, d2, d3, raw[8:10].hex().upper(), raw[10:].hex().upper())


def pattern(size, seed):
    return bytes(((i * 131 + seed * 7 + (i >> 8)) & 0xFF) for i in range(size))


# The tree the tests lay out: (name, class id or None, children) for storages, (name, bytes) for streams.
KIND_A = struct.pack('<IHH', 0x01234567, 0x89AB, 0xCDEF) + bytes([1, 2, 3, 4, 5, 6, 7, 8])
KIND_B = struct.pack('<IHH', 0xCAFEF00D, 0x0001, 0x0002) + bytes([9, 8, 7, 6, 5, 4, 3, 2])
TREE = ('', KIND_B, [
    ('Small', pattern(100, 1)),
    ('Exactly4096', pattern(4096, 2)),
    ('\x05Props', b''),
    ('\u00dcn\u00efc\u00f6de', pattern(10, 4)),
    ('Folder', KIND_A, [
        ('Big', pattern(70000, 3)),
        ('Empty', b''),
        ('Inner', None, [('Tiny', b'x')]),
    ]),
])


def listing(tree):
    lines = []

    def walk(node, path):
        if len(node) == 3:
            lines.append('D %s %s' % (path or '/', clsid_text(node[1] or bytes(16))))
            for child in node[2]:
                walk(child, path + '/' + escape(child[0]))
        else:
            lines.append('S %s %d %s' % (path, len(node[1]), node[1].hex()))

    walk(tree, '')
    return sorted(lines)


def dump(path):
    import olefile
    ole = olefile.OleFileIO(path)
    lines = ['D / %s' % (ole.root.clsid or '-')]
    for parts in ole.listdir(streams=True, storages=True):
        name = '/' + '/'.join(escape(p) for p in parts)
        kind = ole.get_type(parts)
        if kind == olefile.STGTY_STORAGE:
            lines.append('D %s %s' % (name, ole.getclsid(parts) or '-'))
        else:
            data = ole.openstream(parts).read()
            if len(data) != ole.get_size(parts):
                raise SystemExit('size mismatch in ' + name)
            lines.append('S %s %d %s' % (name, len(data), data.hex()))
    ole.close()
    return sorted(lines)


def name_key(name):
    units = len(name.encode('utf-16-le')) // 2
    return (units, name.upper())


def write(path, tree):
    """A version 3 compound file: 512-byte sectors, 64-byte mini sectors below 4096 bytes."""
    SECTOR, MINI, CUTOFF = 512, 64, 4096
    FREE, END, FATSECT, NOSTREAM = 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD, 0xFFFFFFFF
    sectors, fat = [], []

    def chain(data):
        if not data:
            return END
        start = len(sectors)
        count = (len(data) + SECTOR - 1) // SECTOR
        for i in range(count):
            sectors.append(data[i * SECTOR:(i + 1) * SECTOR].ljust(SECTOR, b'\0'))
            fat.append(start + i + 1 if i + 1 < count else END)
        return start

    # Directory entries in walking order; the root is entry 0.
    entries = []

    def collect(node):
        index = len(entries)
        entry = {'name': node[0], 'storage': len(node) == 3, 'left': NOSTREAM, 'right': NOSTREAM,
                 'child': NOSTREAM, 'clsid': (node[1] or bytes(16)) if len(node) == 3 else bytes(16),
                 'data': b'' if len(node) == 3 else node[1]}
        entries.append(entry)
        if entry['storage']:
            kids = sorted((collect(child) for child in node[2]), key=lambda i: name_key(entries[i]['name']))

            def balance(items):  # a binary search tree over the sorted siblings
                if not items:
                    return NOSTREAM
                mid = len(items) // 2
                entries[items[mid]]['left'] = balance(items[:mid])
                entries[items[mid]]['right'] = balance(items[mid + 1:])
                return items[mid]

            entry['child'] = balance(kids)
        return index

    collect(tree)
    mini_stream, mini_fat = b'', []
    for entry in entries[1:]:
        data = entry['data']
        if entry['storage'] or not data:
            entry['start'] = END if not entry['storage'] else 0
        elif len(data) < CUTOFF:
            start = len(mini_stream) // MINI
            count = (len(data) + MINI - 1) // MINI
            mini_stream += data.ljust(count * MINI, b'\0')
            mini_fat += [start + i + 1 if i + 1 < count else END for i in range(count)]
            entry['start'] = start
        else:
            entry['start'] = chain(data)
    entries[0]['start'] = chain(mini_stream)
    entries[0]['data'] = mini_stream
    mini_fat_bytes = b''.join(struct.pack('<I', v) for v in mini_fat)
    mini_fat_start = chain(mini_fat_bytes.ljust(-(-len(mini_fat_bytes) // SECTOR) * SECTOR, b'\xff'))

    directory = b''
    for i, entry in enumerate(entries):
        name = entry['name'].encode('utf-16-le')
        kind = 5 if i == 0 else (1 if entry['storage'] else 2)
        size = len(entry['data']) if (i == 0 or not entry['storage']) else 0
        directory += (name.ljust(64, b'\0') + struct.pack('<HBB', len(name) + 2, kind, 1) +
                      struct.pack('<III', entry['left'], entry['right'], entry['child']) + entry['clsid'] +
                      struct.pack('<I', 0) + bytes(16) + struct.pack('<IQ', entry['start'], size))
    while len(directory) % SECTOR:
        directory += bytes(64) + struct.pack('<HBB', 0, 0, 0) + struct.pack("<III", NOSTREAM, NOSTREAM, NOSTREAM) + bytes(48)
    directory_start = chain(directory)

    fat_count = 1
    while len(fat) + fat_count > fat_count * (SECTOR // 4):
        fat_count += 1
    fat_sectors = list(range(len(sectors), len(sectors) + fat_count))
    fat += [FATSECT] * fat_count
    fat += [FREE] * (fat_count * (SECTOR // 4) - len(fat))
    fat_bytes = b''.join(struct.pack('<I', v) for v in fat)
    for i in range(fat_count):
        sectors.append(fat_bytes[i * SECTOR:(i + 1) * SECTOR])

    header = (bytes([0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1]) + bytes(16) +
              struct.pack('<HHHHH', 0x3E, 3, 0xFFFE, 9, 6) + bytes(6) +
              struct.pack('<IIIIIIIII', 0, fat_count, directory_start, 0, CUTOFF,
                          mini_fat_start if mini_fat else END, -(-len(mini_fat) * 4 // SECTOR), END, 0))
    difat = fat_sectors + [FREE] * (109 - len(fat_sectors))
    header += b''.join(struct.pack('<I', v) for v in difat)
    with open(path, 'wb') as out:
        out.write(header + b''.join(sectors))


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ('dump', 'write'):
        raise SystemExit(__doc__)
    if sys.argv[1] == 'write':
        write(sys.argv[2], TREE)
        lines = listing(TREE)
    else:
        lines = dump(sys.argv[2])
    sys.stdout.write(''.join(line + '\n' for line in lines))


if __name__ == '__main__':
    main()
