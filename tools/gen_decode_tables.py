#!/usr/bin/env python3
"""Writes tone_mapping_v1_0/decode_tables.cpp: the four 1024-entry decode tables.

Entry i of every table belongs to the normalised signal i/1023. Each entry is
computed with 60-digit decimal arithmetic and rounded to a fixed number of
decimal places; the C++ literal then parses to the double nearest that
decimal. The rounding is part of the library's output, so the tables are
written out as literals rather than computed at start-up.

Usage: tools/gen_decode_tables.py > tone_mapping_v1_0/decode_tables.cpp
"""

import decimal
import sys
from decimal import Decimal as D

decimal.getcontext().prec = 60

TABLE_SIZE = 1024
CODE_MAX = D(1023)

# SMPTE ST 2084 constants, exact binary fractions.
PQ_M1 = D(2610) / D(16384)
PQ_M2 = D(2523) / D(4096) * 128
PQ_C1 = D(3424) / D(4096)
PQ_C2 = D(2413) / D(4096) * 32
PQ_C3 = D(2392) / D(4096) * 32
# Below this entry the PQ values are kept to fifteen decimals, from it on six.
PQ_FIRST_SIX_DECIMAL_ENTRY = 66

# ARIB STD-B67 / BT.2100 HLG constants as published.
HLG_A = D("0.17883277")
HLG_B = D("0.28466892")
HLG_C = D("0.55991073")

# Margin below which a value counts as too close to a rounding tie to trust.
TIE_MARGIN = D("1e-30")


def pq_eotf(e):
    if e == 0:
        return D(0)
    p = e ** (1 / PQ_M2)
    return (max(p - PQ_C1, D(0)) / (PQ_C2 - PQ_C3 * p)) ** (1 / PQ_M1)


def hlg_inverse_oetf(e):
    if e <= D("0.5"):
        return e * e / 3
    return (((e - HLG_C) / HLG_A).exp() + HLG_B) / 12


def srgb_eotf(v):
    if v <= D("0.04045"):
        return v / D("12.92")
    return ((v + D("0.055")) / D("1.055")) ** D("2.4")


def bt709_inverse_oetf(v):
    if v < D("0.081"):
        return v / D("4.5")
    return ((v + D("0.099")) / D("1.099")) ** (1 / D("0.45"))


def round_decimals(value, places):
    quantum = D(1).scaleb(-places)
    scaled = value.scaleb(places)
    fraction = scaled - scaled.to_integral_value(rounding=decimal.ROUND_FLOOR)
    if value != value.quantize(quantum) and abs(fraction - D("0.5")) < TIE_MARGIN:
        sys.exit(f"value {value} is too close to a rounding tie at {places} decimals")
    return value.quantize(quantum, rounding=decimal.ROUND_HALF_EVEN)


def literal(value):
    text = format(value, "f")
    if "." in text:
        text = text.rstrip("0")
        if text.endswith("."):
            text += "0"
    else:
        text += ".0"
    return text


def build(curve, places_for_entry):
    return [literal(round_decimals(curve(D(i) / CODE_MAX), places_for_entry(i)))
            for i in range(TABLE_SIZE)]


def emit_table(out, name, comment, entries, per_line):
    out.write(f"// {comment}\n")
    out.write(f"const double {name}[kDecodeTableSize] = {{\n")
    for start in range(0, len(entries), per_line):
        chunk = entries[start:start + per_line]
        out.write("    " + ", ".join(chunk) + ",\n")
    out.write("};\n\n")


def main():
    out = sys.stdout
    out.write("// Decode tables: entry i is the decoded light of the signal i/1023.\n")
    out.write("// Written by tools/gen_decode_tables.py; regenerate rather than edit.\n")
    out.write('#include "transfer_functions.h"\n\n')
    out.write("namespace hdrtm {\n\n")
    emit_table(out, "kPqDecodeTable",
               "ST 2084 EOTF, 1.0 = 10000 cd/m2: entries 1..65 to fifteen decimals, "
               "66..1023 to six.",
               build(pq_eotf, lambda i: 15 if i < PQ_FIRST_SIX_DECIMAL_ENTRY else 6), 5)
    emit_table(out, "kHlgDecodeTable",
               "BT.2100 HLG inverse OETF, scene light in [0, 1], six decimals.",
               build(hlg_inverse_oetf, lambda i: 6), 8)
    emit_table(out, "kSrgbDecodeTable", "sRGB EOTF (IEC 61966-2-1), six decimals.",
               build(srgb_eotf, lambda i: 6), 8)
    emit_table(out, "kBt709DecodeTable", "BT.709 inverse OETF, six decimals.",
               build(bt709_inverse_oetf, lambda i: 6), 8)
    out.write("}  // namespace hdrtm\n")


if __name__ == "__main__":
    main()
