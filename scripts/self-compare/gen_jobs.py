#!/usr/bin/env python3
"""Writes N varied jobs from a seed, one folder each: job.cfg, its images and table files, and
now and then a zelpgencmd.inf. The same seed always gives the same jobs, so two builds can be
run on them and compared byte for byte. About one job in eight is faulty on purpose.

usage: gen_jobs.py OUT --seed N --jobs N
"""
import argparse
import os
import random
import struct

SYMBOLS = {
    "tray": ["id_val_input_tray_auto", "id_val_input_tray_top", "id_val_input_tray_main",
             "id_val_input_tray_cassette_2", "id_val_input_tray_manual"],
    "medium": ["id_val_medium_type_matte_film", "id_val_medium_type_card_stock",
               "id_val_medium_type_stationery", "id_val_medium_type_semi_glossy_paper"],
    "quality": ["id_val_print_quality_high", "id_val_print_quality_normal",
                "id_val_print_quality_draft"],
    "edit": ["id_val_lfp_media_edit_on", "id_val_lfp_media_edit_low",
             "id_val_lfp_media_edit_high", "id_val_lfp_media_edit_panel_setting_first",
             "id_val_lfp_media_edit_30_min"],
}
PACKET_TYPES = ["zelp_id_val_packet_type_job_attr,", "zelp_id_val_packet_type_binder_attr,",
                "zelp_id_val_packet_type_document_attr,", "zelp_id_val_packet_type_job_method,",
                "zelp_id_val_packet_type_binder_method,",
                "zelp_id_val_packet_type_document_method,"]
COMPRESSIONS = ["0", "2", "3", "128", "256", "kelm_id_val_compression_none",
                "kelm_id_val_compression_packbits", "kelm_id_val_compression_seedrow",
                "kelm_id_val_compression_packbits_block",
                "kelm_id_val_compression_packbits_seedrow"]
INK = ["K", "C", "M", "Y", "c", "m"]


def packbits(row, r=None):
    out, i, n = bytearray(), 0, len(row)
    while i < n:
        if r is not None and r.random() < 0.02:
            out.append(0x80)  # a no-operation byte, which readers must skip
        j = i
        while j + 1 < n and row[j + 1] == row[i] and j - i < 127:
            j += 1
        if j > i:
            out += bytes([257 - (j - i + 1) & 0xFF, row[i]])
            i = j + 1
            continue
        j = i
        while j < n and j - i < 128 and not (j + 1 < n and row[j + 1] == row[j]):
            j += 1
        j = max(j, i + 1)
        out += bytes([j - i - 1]) + row[i:j]
        i = j
    return bytes(out)


def pixels(r, width, height, spp, bits):
    """Rows of samples: white runs, flat runs, noise and gradients, so every coder has work."""
    top = (1 << bits) - 1 if bits < 16 else 65535
    style = r.choice(["noise", "runs", "gradient", "blank", "mixed"])
    rows = []
    prev = None
    for y in range(height):
        kind = style if style != "mixed" else r.choice(["noise", "runs", "gradient", "blank", "same"])
        if kind == "same" and prev is not None:
            rows.append(prev)
            continue
        row = []
        if kind == "noise":
            row = [r.randint(0, top) for _ in range(width * spp)]
        elif kind == "runs":
            while len(row) < width * spp:
                row += [r.choice([0, top, r.randint(0, top)])] * r.randint(1, 40)
            row = row[:width * spp]
        elif kind == "gradient":
            row = [((x + y) * (top + 1) // max(1, width)) % (top + 1) for x in range(width * spp)]
        else:
            row = [r.choice([0, top])] * (width * spp)
            if r.random() < 0.3 and width > 2:
                row[r.randrange(len(row))] = r.randint(0, top)
        rows.append(row)
        prev = row
    return rows


def pack_row(row, bits, big):
    if bits == 8:
        return bytes(row)
    if bits == 16:
        return b"".join(struct.pack(">H" if big else "<H", v) for v in row)
    out = bytearray((len(row) + 7) // 8)
    for i, v in enumerate(row):
        if v:
            out[i // 8] |= 0x80 >> (i % 8)
    return bytes(out)


def tiff(r, kind, width, height, faulty):
    """kind: gray1, gray8, gray16, rgb8, rgb16, cmyk8, cmyk16."""
    spp = {"gray": 1, "rgb": 3, "cmyk": 4}[kind.rstrip("0123456789")]
    bits = int(kind.lstrip("graycmykb"))
    big = r.random() < 0.5
    e = ">" if big else "<"
    photometric = {1: r.choice([0, 1]), 3: 2, 4: 5}[spp]
    compression = 32773 if r.random() < 0.4 else 1
    if faulty == "compression":
        compression = r.choice([5, 8, 7])
    rows = [pack_row(row, bits, big) for row in pixels(r, width, height, spp, bits)]
    per_strip = r.choice([1, 2, 7, 16, 300, height, max(1, height // 3)])
    strips = []
    for s in range(0, height, per_strip):
        data = rows[s:s + per_strip]
        strips.append(b"".join(packbits(x, r) for x in data) if compression == 32773
                      else b"".join(data))
    body = bytearray(b"MM\x00\x2a" if big else b"II\x2a\x00") + struct.pack(e + "I", 0)
    offsets = []
    for s in strips:
        offsets.append(len(body))
        body += s
        if len(body) % 2:
            body += b"\x00"
    extra = {}

    def array(typ, values):
        fmt = {3: "H", 4: "I"}[typ]
        if len(values) * struct.calcsize(fmt) <= 4:
            return None
        off = len(body)
        body.extend(struct.pack(e + fmt * len(values), *values))
        return off
    bps = [bits] * spp
    tags = [(256, 4, [width]), (257, 4, [height]), (258, 3, bps), (259, 3, [compression]),
            (262, 3, [photometric]), (273, 4, offsets), (277, 3, [spp]),
            (278, 4, [per_strip]), (279, 4, [len(s) for s in strips]), (284, 3, [1])]
    if faulty == "tiles":
        tags.append((322, 4, [16]))
    if r.random() < 0.2:
        tags.append((296, 3, [2]))
    tags.sort()
    for tag, typ, values in tags:
        extra[tag] = array(typ, values)
    ifd = len(body)
    body[4:8] = struct.pack(e + "I", ifd)
    body += struct.pack(e + "H", len(tags))
    for tag, typ, values in tags:
        if extra[tag] is not None:
            body += struct.pack(e + "HHII", tag, typ, len(values), extra[tag])
        else:
            raw = struct.pack(e + ({3: "H", 4: "I"}[typ]) * len(values), *values)
            body += struct.pack(e + "HHI", tag, typ, len(values)) + raw.ljust(4, b"\x00")
    body += struct.pack(e + "I", 0)
    if faulty == "truncated":
        cut = r.randint(8, max(9, len(body) - 1))
        return bytes(body[:cut]) if r.random() < 0.3 else bytes(body[:ifd]) + bytes(body[ifd:])
    if faulty == "short-strip" and offsets:
        tags_at = body.find(struct.pack(e + "H", 257))
        if tags_at > 0:
            body[tags_at + 8:tags_at + 12] = struct.pack(e + "I", height + 50)
    return bytes(body)


def bmp(r, bits, width, height, faulty):
    spp = 3 if bits == 24 else 1
    rows = pixels(r, width, height, spp, 8 if bits != 1 else 1)
    stride = ((width * bits + 31) // 32) * 4
    data = bytearray()
    for row in reversed(rows):
        if bits == 24:
            packed = bytes(row)
        else:
            packed = pack_row(row, bits, False)
        data += packed.ljust(stride, b"\x00")
    palette = b""
    if bits <= 8:
        n = 1 << bits
        palette = b"".join(bytes([i * 255 // (n - 1)] * 3 + [0]) for i in range(n))
    off = 14 + 40 + len(palette)
    h = height
    compression = 0
    if faulty == "topdown":
        h = -height
    if faulty == "rle":
        compression = 1
    if faulty == "depth":
        bits = r.choice([16, 32, 4])
    head = struct.pack("<2sIHHI", b"BM", off + len(data), 0, 0, off)
    info = struct.pack("<IiiHHIIiiII", 40, width, h, 1, bits, compression, len(data), 2835, 2835,
                       0, 0)
    out = head + info + palette + bytes(data)
    if faulty == "truncated":
        out = out[:r.randint(10, len(out) - 1)]
    return out


def text(r, limit=40):
    alphabet = "abcXYZ 0123456789-_./é"
    s = "".join(r.choice(alphabet) for _ in range(r.randint(0, limit)))
    if r.random() < 0.1:
        s = "\\a" + s
    if r.random() < 0.1:
        s += '""x'
    return '"' + s + '"'


def number(r, bits=32, signed=False):
    v = r.choice([0, 1, 2, 3, 11, 255, 256, 65535, r.randint(0, 1 << bits)])
    s = hex(v) if r.random() < 0.2 else str(v)
    if signed and r.random() < 0.3:
        s = r.choice(["-", "+"]) + str(v % 1000)
    return s


def value_for(r, key):
    if key in ("JobName", "JobOwner", "JobClientID", "PanelMessage", "ClientJobID_JobInfo"):
        return text(r, 60)
    if key == "TrayUnitID" or key == "TrayAlias":
        return r.choice(SYMBOLS["tray"] + [number(r, 8)])
    if key == "Medium":
        return r.choice(SYMBOLS["medium"] + [number(r, 8)])
    if key == "Quality":
        return r.choice(SYMBOLS["quality"] + [number(r, 8)])
    if key == "MediumTypeEx":
        return r.choice(["id_val_lfp_medium_type_ex_any", "id_val_lfp_medium_type_ex_1a2B",
                         "id_val_lfp_medium_type_ex_unknown", number(r, 16)])
    if key == "ClientJobID_UUID":
        return "%08x-%04x-%04x-%04x-%012x" % tuple(r.getrandbits(b) for b in (32, 16, 16, 16, 48))
    if key in ("PageInkDryingTime", "BandInkDryingTime", "RollMediaTopBlank",
               "RollMediaBottomBlank", "PaperThickness", "PrintingSuction", "CuttingSpeed",
               "HeadHeight"):
        return r.choice(SYMBOLS["edit"] + [number(r, 8)])
    if key in ("COLCount", "COLNumber", "JobCopies"):
        return number(r, 16)
    return number(r)


ZELP_KEYS = ["JobName", "JobOwner", "JobClientID", "PanelMessage", "TrayUnitID", "TrayAlias",
             "Medium", "MediumTypeEx", "Quality", "MediumCuttingType", "InkDryingType",
             "InkDryingTime", "PageInkDryingTime", "BandInkDryingTime", "RollMediaTopBlank",
             "RollMediaBottomBlank", "PaperThickness", "PrintingSuction", "CuttingSpeed"]
ZELP_V2_KEYS = ["Plex", "PlexImagePositionAdjustment", "HeadHeight", "SetPathMode",
                "JobCreatorID", "JobStartExecutionMode", "COLMode", "COLCount", "COLHandle",
                "COLNumber", "COLPassword", "JobStartMode", "ClientJobID_UUID",
                "ClientJobID_JobInfo", "JobCopies", "QualityOptimizedLevel", "HeadOneWayPrint",
                "Calibration", "JobImpressions2", "SetJobOctets"]


def job_time(r):
    if r.random() < 0.2:
        return "zelpgen_id_val_set_job_time_none"
    d = "%02d/%02d/%04d %02d:%02d:%02d" % (r.randint(1, 28), r.randint(1, 12),
                                           r.randint(1990, 2037), r.randint(0, 23),
                                           r.randint(0, 59), r.randint(0, 59))
    return '"%s%s"' % (d, " GMT" if r.random() < 0.7 else "")


def zelp_section(r, lines, fault, cmd):
    v2 = r.random() < 0.4
    lines.append("[ZELP]")
    if v2 or r.random() < 0.2:
        lines.append("Version=%s" % ("2" if v2 else r.choice(["1", "3"])))
    keys = ZELP_KEYS + (ZELP_V2_KEYS if v2 else [])
    chosen = r.sample(keys, r.randint(0, len(keys)))
    if not v2 and r.random() < 0.6:
        chosen.append("JobImpressions")
    for key in chosen:
        value = r.randint(1, 3) if key == "JobImpressions" else value_for(r, key)
        lines.append("%s=%s" % (key, value))
    lines.append("JobTime=%s" % job_time(r))
    if cmd:
        for _ in range(r.randint(1, 2)):
            lines.append("MediaProfile=%s" % r.choice(["profile_fine", "profile_standard", "7"]))
            lines.append("MediaProfile=%s" % text(r, 12))
    if fault == "zelp":
        lines.append(r.choice(["Plex=1", "JobName=\"a\"\nJobName=\"b\"", "Unknown=3",
                               "Quality=", "JobName=noquotes", "Medium=no_such_symbol"]))


def raw_section(r, lines, fault):
    lines.append("[ZELP_Raw]")
    for _ in range(r.randint(1, 3)):
        full = r.random() < 0.3
        lines.append("%s=%s" % ("FullPacket" if full else "SimplePacket", r.choice(PACKET_TYPES)))
        need = 20 if full else 0
        count = 0
        while count < need or r.random() < 0.6:
            if r.random() < 0.8:
                n = r.randint(1, 12)
                lines.append("0x" + "".join("%02X" % r.randrange(256) for _ in range(n)))
            else:
                n = r.randint(0, 8)
                lines.append('"' + "".join(r.choice("abcdef 123") for _ in range(n)) + '"')
            count += n
        if r.random() < 0.05:
            lines.append("0x01, 02")
    if fault == "raw":
        lines.append(r.choice(["FullPacket=zelp_id_val_packet_type_job_attr,\n0x0102",
                               "SimplePacket=zelp_id_val_packet_type_nope,",
                               "SimplePacket=zelp_id_val_packet_type_job_attr,\n0x" + "AB" * 260]))


def kelm_section(r, lines, fault):
    lines.append("[KELM]")
    res = r.choice([300, 600, 720, 1200])
    body = ["PrinterResolutionH=%d" % res, "PrinterResolutionV=%d" % r.choice([res, 600])]
    custom = r.random() < 0.25
    if custom:
        body += ['PaperName="CUSTOM"', "PaperSizeInDeciMilliMeterH=%d" % r.randint(100, 9000),
                 "PaperSizeInDeciMilliMeterV=%d" % r.randint(100, 9000)]
    else:
        body.append('PaperName=%s' % r.choice(['"A4"', '"A1"', '"ROLL"', text(r, 10)]))
        body.append('PaperOrient=%s' % r.choice(['"SHORTEDGE"', '"LONGEDGE"']))
    for m in ("Top", "Bottom", "Left", "Right"):
        body.append("Margin%s=%s" % (m, r.choice(["0", "5", "-3", "+12", "100"])))
    optional = [('Banner', lambda: r.choice(['"ON"', '"OFF"'])),
                ('SavePaper', lambda: r.choice(['"ON"', '"OFF"'])),
                ('DMask', lambda: r.choice(['"ON"', '"OFF"'])),
                ('CutmediaCenter', lambda: r.choice(["kelm_id_val_centering_width", "0", "1"])),
                ('RollmediaCenter', lambda: r.choice(["kelm_id_val_centering_width", "2"])),
                ('InkType', lambda: r.choice(["0", "1", "2"])),
                ('MachineID', lambda: text(r, 20)), ('RollWidth', lambda: text(r, 10)),
                ('SingleSSC', lambda: number(r, 8)), ('PrintStopOff', lambda: number(r, 8)),
                ('PrintableWidthInPixel', lambda: str(r.randint(1, 200)))]
    for key, make in r.sample(optional, r.randint(0, len(optional))):
        body.append("%s=%s" % (key, make()))
    for _ in range(r.choice([0, 0, 1, 3])):
        body.append('NewPJL="%s=%d"' % (r.choice(["FOO", "BAR_X", "INK"]), r.randint(0, 99)))
    r.shuffle(body)
    if fault == "kelm":
        victim = r.randrange(len(body))
        body[victim] = r.choice(["PaperOrent=SHORTEDGE", body[victim].split("=")[0] + "=",
                                 "MarginLeft=-1", body[victim] + "\n" + body[victim]])
    lines += body


def image_files(r, job_dir, index, fault):
    """Chooses a mode and writes its files; returns the [Image] lines."""
    family = r.choice(["2000", "3000", "3000-sep", "4000", "4000-sep", "5000", "10000", "odd"])
    width = r.choice([1, 3, 8, 17, 40, r.randint(1, 90)])
    height = r.choice([1, 2, 10, r.randint(1, 60), r.randint(290, 320)])
    keys = []
    faulty_image = fault if fault in ("compression", "tiles", "truncated", "short-strip",
                                      "topdown", "rle", "depth") else None

    def gray(name, allow1=True):
        fmt = r.choice(["tiff", "bmp"])
        depth = r.choice(["8", "8", "1", "16"] if allow1 else ["8", "16"])
        if fmt == "bmp":
            depth = "1" if depth == "1" else "8"
            data = bmp(r, int(depth), width, height,
                       faulty_image if faulty_image in ("topdown", "rle", "depth", "truncated")
                       else None)
            fname = "%s%d.bmp" % (name, index)
        else:
            data = tiff(r, "gray" + depth, width, height, faulty_image if faulty_image in (
                "compression", "tiles", "truncated", "short-strip") else None)
            fname = "%s%d.%s" % (name, index, r.choice(["tif", "tiff", "TIF"]))
        with open(os.path.join(job_dir, fname), "wb") as f:
            f.write(data)
        return fname, depth

    def pixel_depth(src):
        return {"1": "1", "8": r.choice(["8", "8", "2", "4", "10", "1"]), "16": "10"}[src]

    if family in ("2000", "odd"):
        f, d = gray("k")
        cs = "2" if family == "2000" else r.choice(["5", "4", "3", "19"])
        keys += ['ImageFileK="%s"' % f, "PixelDepthK=%s" % pixel_depth(d)]
        planes = "1"
        if family == "odd":
            others = ["Gy", "Pgy", "C", "M", "Y", "c", "m", "R", "G", "B"]
            for ink in r.sample(others, r.choice([0, 1, 2, r.randint(3, 6)])):
                f2, d2 = gray("x" + ink)
                keys += ['ImageFile%s="%s"' % (ink, f2), "PixelDepth%s=%s" % (ink, pixel_depth(d2))]
            given = sum(1 for k in keys if k.startswith("PixelDepth") and not k.endswith("=0"))
            planes = str(given if r.random() < 0.8 else r.choice([1, 2, 3, 5, 7, 11]))
        keys += ["ColorSpace=%s" % cs, "NumOfPlanes=%s" % planes]
    elif family in ("3000", "10000"):
        kind = r.choice(["tiff8", "tiff16", "bmp"])
        if kind == "bmp":
            data, fname, depth = bmp(r, 24, width, height, None), "rgb%d.bmp" % index, r.choice(
                ["8", "10", "12"])
        else:
            data = tiff(r, "rgb" + kind[4:], width, height, faulty_image if faulty_image in (
                "compression", "truncated") else None)
            fname = "rgb%d.tif" % index
            depth = "10" if kind == "tiff16" else r.choice(["8", "10"])
        with open(os.path.join(job_dir, fname), "wb") as f:
            f.write(data)
        keys.append('ImageFileRGB="%s"' % fname)
        keys += ["PixelDepth%s=%s" % (c, depth) for c in "RGB"]
        keys += ["ColorSpace=%s" % ("2" if family == "3000" else "18"),
                 "NumOfPlanes=%s" % ("3" if family == "3000" else "1")]
    elif family == "3000-sep":
        for c in "RGB":
            f, d = gray(c.lower(), False)
            keys += ['ImageFile%s="%s"' % (c, f), "PixelDepth%s=%s" % (c, "8" if d == "8" else "10")]
        keys += ["ColorSpace=2", "NumOfPlanes=3"]
    elif family == "4000" and r.random() < 0.6:
        bits = r.choice(["8", "8", "16"])
        data = tiff(r, "cmyk" + bits, width, height, faulty_image if faulty_image in (
            "compression", "truncated", "short-strip") else None)
        with open(os.path.join(job_dir, "cmyk%d.tif" % index), "wb") as f:
            f.write(data)
        keys.append('ImageFileCMYK="cmyk%d.tif"' % index)
        depth = "10" if bits == "16" else r.choice(["8", "1", "2", "4", "10"])
        keys += ["PixelDepth%s=%s" % (c, depth) for c in "KCMY"]
        cs = r.choice(["3", "4", "5", "5", "19", "20", "21"])
        keys += ["ColorSpace=" + cs,
                 "NumOfPlanes=%s" % ("1" if int(cs) > 5 else r.choice(["4"] * 9 + ["11"]))]
    else:
        inks = INK[:4] if family.startswith("4000") else INK
        for c in inks:
            f, d = gray(c.lower() + ("l" if c.islower() else ""))
            keys += ['ImageFile%s="%s"' % (c, f), "PixelDepth%s=%s" % (c, pixel_depth(d))]
        cs = r.choice(["3", "4", "5", "5", "19", "20", "21"])
        keys += ["ColorSpace=" + cs, "NumOfPlanes=%d" % (1 if int(cs) > 5 else len(inks))]
    for k in r.sample("KCMYcm", r.choice([0, 0, 1, 2])):
        keys.append("IndexLevel%s=%s" % (k, r.choice(["0", "3", "4", "5", "6", "16"])))
    keys.append("CompressionMode=%s" % r.choice(COMPRESSIONS))
    hres = r.choice([150, 300, 600])
    keys += ["GraphicResolutionH=%d" % hres, "GraphicResolutionV=%d" % r.choice([hres, 300])]
    for key in ("StartingPositionX", "StartingPositionY", "YOffsetC", "YOffset"):
        if r.random() < 0.3:
            keys.append("%s=%s" % (key, r.choice(["0", "25", "+10", "-4", "+0", "-20"])))
    if fault == "image-keys":
        keys[r.randrange(len(keys))] = r.choice(["NumOfPlanes=9", "PixelDepthK=", "ColorSpace=7",
                                                 'ImageFileK="missing.tif"', "Bogus=1"])
    r.shuffle(keys)
    return keys


def inherit(keys):
    """A later [Image] that gives only its files and positions takes the rest from the first."""
    shared = ("ColorSpace", "CompressionMode", "NumOfPlanes", "PixelDepth", "IndexLevel",
              "GraphicResolution")
    return [k for k in keys if not k.startswith(shared)]


CMD_FILE = """[MediaProfile]
ParamCount=2
SimplePacket=%s
0x0900
Param1
Param2
Param1.Name="profile"
Param1.DataType=Number
Param1.Size=%s
Param1.Value=%s,profile_standard
Param1.Value=%s,profile_fine
Param2.Name="label"
Param2.DataType=String
Param2.Size=StringLength
"""


def job(r, job_dir):
    os.makedirs(os.path.join(job_dir, "sub"))
    fault = None
    if r.random() < 0.14:
        fault = r.choice(["zelp", "raw", "kelm", "image-keys", "compression", "tiles",
                          "truncated", "short-strip", "topdown", "rle", "depth", "order",
                          "cmdfile", "comment"])
    cmd = r.random() < 0.15 or fault == "cmdfile"
    if cmd:
        size = r.choice(["2", "2", "4"])
        first = "0x01" if size == "2" else "0x0001"
        if fault == "cmdfile":
            first = r.choice(["0x1", "1"])
        with open(os.path.join(job_dir, "zelpgencmd.inf"), "w") as f:
            f.write(CMD_FILE % (r.choice(PACKET_TYPES), size, first, "0x02" if size == "2" else "0x0002"))
    lines = []
    if r.random() < 0.1:
        lines += ["# a job", "/* block", "*/ comment"]
    if r.random() < 0.8:
        lines.append("[Global]")
        if r.random() < 0.5:
            lines.append('OutFilePath="%s"' % r.choice(["out.dat", "print.bin", "sub/../p.dat", "sub\\q.dat"]))
        for t in range(r.choice([0, 0, 0, 0, 1, 2, 6, 7])):
            name = "table%d.bin" % t
            with open(os.path.join(job_dir, name), "wb") as f:
                f.write(bytes(r.randrange(256) for _ in range(r.randint(0, 300))))
            lines.append('ImageProcessingFile="%s"' % name)
    # Without [ZELP] the job takes the current time: not comparable.
    zelp_section(r, lines, fault, cmd)
    if r.random() < 0.2 or fault == "raw":
        raw_section(r, lines, fault)
    images = []
    count = r.choice([1, 1, 1, 2, 2, 3])
    for i in range(count):
        keys = image_files(r, job_dir, i, fault if i == count - 1 else None)
        if i > 0 and r.random() < 0.4 and fault != "image-keys":
            keys = inherit(images[0])
            for key in ("StartingPositionX", "StartingPositionY", "YOffset"):
                keys = [k for k in keys if not k.startswith(key + "=")]
                if r.random() < 0.5:
                    keys.append("%s=%s" % (key, r.choice(["0", "25", "+10", "-4", "+0"])))
        images.append(keys)
    if fault == "order":
        lines.append("[Image]")
        lines += images[0]
    if fault != "order" or r.random() < 0.5:
        kelm_section(r, lines, fault)
    for keys in images:
        lines.append("[Image]")
        lines += keys
    if fault == "comment":
        lines.insert(r.randrange(len(lines)), r.choice(["/* never closed", "  \t", "[KELM] # x"]))
    if r.random() < 0.05:
        lines.insert(r.randrange(len(lines)), "x" * r.randint(1000, 1100))
    eol = r.choice(["\n", "\n", "\n", "\r\n", "\r"])
    with open(os.path.join(job_dir, "job.cfg"), "w", newline="", encoding="utf-8") as f:
        f.write(eol.join("\n".join(lines).split("\n")) + eol)


def main():
    p = argparse.ArgumentParser()
    p.add_argument("out")
    p.add_argument("--seed", type=int, default=1)
    p.add_argument("--jobs", type=int, default=2000)
    a = p.parse_args()
    for i in range(a.jobs):
        job(random.Random("%d/%d" % (a.seed, i)), os.path.join(a.out, "j%05d" % i))


if __name__ == "__main__":
    main()
