#!/usr/bin/python3
"""What goes over pixels is vector code: the compiled functions are disassembled, and their instructions that calculate with
whole vectors counted. One that copies says nothing, as compilers copy anything by vectors."""

import os
import re
import subprocess
import unittest

# Instructions that calculate with the bytes or words of 128 bits, and of 256 and 512 bits where processors may have them.
X86_OPERATION = r"v?p(?:add|sub|mul|madd|min|max|avg|cmp|and|or|sll|srl|sra|ack|unpck|erm|compress|testn?m)\w*\s"
KINDS = {
    "x86-64": tuple(re.compile(rf"{X86_OPERATION}.*%{register}") for register in ("xmm", "ymm", "zmm")),
    "aarch64": (re.compile(r"(?:cm|[us]?min|[us]?max|[us]?abd|[su]?add|[su]?sub|[us]?mu?l|[su]q?x?tn|[su]?sh|and|orr|bi|bsl)\w*"
                           r"\s+v\d+\.(?:16b|8h|4s),"), None, None),
}
# A product that is added without being rounded first: the sum may be another one where processors have no such instruction.
FUSED = re.compile(r"\bv?fn?m(?:add|sub|la|ls)\w*\s")

# Functions, by patterns as compilers inline differently, and how many of these instructions each has at least: about as many
# as there are operations in the loop.
VECTORS = {
    r"AnyProcessor::filter<.*::Paeth>|filterRowOn<.*AnyProcessor>": 20,
    r"AnyProcessor::cost<.*::Paeth>|filterRowOn<.*AnyProcessor>": 20,
    r"^picture::sampleStrip\(": 5,
    r"^picture::StripScan::scan\(|findRepetitions": 1,
    r"^picture::literalHistogramPortably\(": 3,
    r"MatchFinder::findPortably\(": 8,
    r"^picture::YuvMatrix::convert\(unsigned char const\*|::convertRow<8,": 20,
    r"^picture::YuvMatrix::convert\(unsigned short const\*|::convertRow<10,": 20,
    r"^picture::blendChroma\(unsigned char const\*": 2,
    r"^picture::blendChroma\(unsigned short const\*": 2,
    r"^picture::widenChroma\(": 2,
    r"^picture::scaleChroma\(": 1,
}
WIDE_VECTORS = {
    r"WithAvx2::filter<.*::Paeth>": 20,
    r"WithAvx2::filter<.*::Up>": 1,
    r"WithAvx2::filter<.*::Sub>": 1,
    r"WithAvx2::cost<.*::Paeth>": 20,
    r"MatchFinder::findByAvx2\(": 4,
}
WIDEST_VECTORS = {
    r"WithAvx512::filter<.*::Paeth>": 15,
    r"WithAvx512::cost<.*::Paeth>": 15,
    r"estimateByAvx512\(": 2,
    r"StripScan::scan\(|findRepetitionsByAvx512\(": 1,
    r"^picture::writeTokensByAvx512\(": 6,
    r"Pieces::appendAnyLiterals\(": 12,
    r"listPositionsByAvx512\(": 3,
}
NO_VECTORS = r"^picture::lumaWeights\("


def disassembled(library):
    """The machine that `library` is for, and the instructions of each function."""
    listing = subprocess.run([os.environ["CAMERA_SHOT_OBJDUMP"], "-d", "-C", "--no-show-raw-insn", library], check=True,
                             capture_output=True, text=True).stdout
    machine = re.search(r"file format elf64-(?:little)?(\S+)", listing).group(1)
    functions = {}
    for line in listing.splitlines():
        if begin := re.fullmatch(r"[0-9a-f]+ <(.*)>:", line):
            instructions = functions.setdefault(begin.group(1), [])
        elif "\t" in line:
            instructions.append(line.split("\t", 1)[1])
    return machine, functions


class VectorCode(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        machine, cls.functions = disassembled(os.environ["CAMERA_SHOT_PICTURE_LIBRARY"])
        cls.vectors, cls.wide_vectors, cls.widest_vectors = KINDS[machine]

    def count(self, function, kind):
        found = [code for name, code in self.functions.items() if re.search(function, name)]
        self.assertTrue(found, f"no function is called {function}")
        return sum(bool(kind.match(instruction)) for code in found for instruction in code)

    def check(self, functions, kind):
        for function, least in functions.items():
            with self.subTest(function):
                count = self.count(function, kind)
                print(f"{function}: {count}")
                self.assertGreaterEqual(count, least)

    def test_of_128_bits_everywhere(self):
        self.check(VECTORS, self.vectors)

    def test_of_256_bits_where_there_are_such(self):
        if self.wide_vectors:
            self.check(WIDE_VECTORS, self.wide_vectors)

    def test_of_512_bits_where_there_are_such(self):
        if self.widest_vectors:
            self.check(WIDEST_VECTORS, self.widest_vectors)

    def test_what_is_no_vector_code_is_told_apart(self):
        self.assertEqual(self.count(NO_VECTORS, self.vectors), 0)

    def test_numbers_are_rounded_alike_on_every_processor(self):
        for name, code in self.functions.items():
            self.assertFalse([instruction for instruction in code if FUSED.search(instruction)], name)


if __name__ == "__main__":
    unittest.main()
