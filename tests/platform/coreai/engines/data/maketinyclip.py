#!/usr/bin/env python3
"""Writes tiny-clip.onnx, a model with the signature of an exported CLIP model and hardly any weights,
and tiny-clip-tokenizer.json, which fits it: maketinyclip.py FOLDER

The image tower takes the mean of each colour, the text tower the mean of its tokens' rows, three
values each, so that "red" lies near a red picture; both spread the three values over 512 in the
same way. Needs nothing beyond Python: the file format is written by hand.
"""

import json
import struct
import sys

FLOAT, INT64 = 1, 7
DIMENSIONS = 512


def varint(value):
    out = bytearray()
    while value > 0x7F:
        out.append(value & 0x7F | 0x80)
        value >>= 7
    out.append(value)
    return bytes(out)


def number(field, value):
    return varint(field << 3) + varint(value)


def block(field, data):
    data = data.encode() if isinstance(data, str) else data
    return varint(field << 3 | 2) + varint(len(data)) + data


def tensor(name, dims, kind, values):
    form = "f" if kind == FLOAT else "q"
    return (
        b"".join(number(1, dim) for dim in dims)
        + number(2, kind)
        + block(8, name)
        + block(9, struct.pack(f"<{len(values)}{form}", *values))
    )


def value_info(name, kind, dims):
    shape = b"".join(
        block(1, block(2, dim) if isinstance(dim, str) else number(1, dim)) for dim in dims
    )
    return block(1, name) + block(2, block(1, number(1, kind) + block(2, shape)))


def integer(name, value):
    return block(1, name) + number(3, value) + number(20, 2)


def integers(name, values):
    return block(1, name) + b"".join(number(8, value) for value in values) + number(20, 7)


def node(kind, inputs, output, *attributes):
    return (
        b"".join(block(1, name) for name in inputs)
        + block(2, output)
        + block(4, kind)
        + b"".join(block(5, attribute) for attribute in attributes)
    )


def tokenizer():
    letters = list("abcdeglnru")
    merges = ["r e", "re d</w>", "g re", "gre e", "gree n</w>", "b l", "bl u", "blu e</w>", "e d"]
    pieces = ["!", "'"] + letters + [f"{letter}</w>" for letter in letters]
    pieces += [merge.replace(" ", "") for merge in merges]
    pieces += ["<|startoftext|>", "<|endoftext|>"]
    vocabulary = {piece: index for index, piece in enumerate(pieces)}
    return {"version": "1.0", "model": {"type": "BPE", "vocab": vocabulary, "merges": merges}}


def model(vocabulary):
    colours = {"red</w>": (1, -1, -1), "green</w>": (-1, 1, -1), "blue</w>": (-1, -1, 1)}
    table = []
    for piece in sorted(vocabulary, key=vocabulary.get):
        table += colours.get(piece, (0, 0, 0))
    spread = [1.0 if column % 3 == row else 0.0 for row in range(3) for column in range(DIMENSIONS)]
    graph = b"".join(
        block(1, part)
        for part in [
            node("ReduceMean", ["pixel_values"], "colour", integers("axes", [2, 3]), integer("keepdims", 0)),
            node("MatMul", ["colour", "spread"], "image_embeds"),
            node("Gather", ["table", "input_ids"], "rows"),
            node("Cast", ["attention_mask"], "mask", integer("to", FLOAT)),
            node("Unsqueeze", ["mask", "last"], "weights"),
            node("Mul", ["rows", "weights"], "kept"),
            node("ReduceSum", ["kept", "middle"], "words", integer("keepdims", 0)),
            node("MatMul", ["words", "spread"], "text_embeds"),
            node("Transpose", ["image_embeds"], "columns", integers("perm", [1, 0])),
            node("MatMul", ["text_embeds", "columns"], "logits_per_text"),
        ]
    )
    graph += block(2, "tiny-clip")
    graph += block(5, tensor("table", [len(vocabulary), 3], FLOAT, table))
    graph += block(5, tensor("spread", [3, DIMENSIONS], FLOAT, spread))
    graph += block(5, tensor("last", [1], INT64, [2]))
    graph += block(5, tensor("middle", [1], INT64, [1]))
    graph += block(11, value_info("input_ids", INT64, ["texts", "tokens"]))
    graph += block(11, value_info("pixel_values", FLOAT, ["pictures", 3, "height", "width"]))
    graph += block(11, value_info("attention_mask", INT64, ["texts", "tokens"]))
    graph += block(12, value_info("logits_per_text", FLOAT, ["texts", "pictures"]))
    graph += block(12, value_info("text_embeds", FLOAT, ["texts", DIMENSIONS]))
    graph += block(12, value_info("image_embeds", FLOAT, ["pictures", DIMENSIONS]))
    return number(1, 8) + block(7, graph) + block(8, block(1, "") + number(2, 13))


def main():
    folder = sys.argv[1]
    made = tokenizer()
    with open(f"{folder}/tiny-clip-tokenizer.json", "w", encoding="utf-8") as file:
        json.dump(made, file, indent=1, ensure_ascii=False)
        file.write("\n")
    with open(f"{folder}/tiny-clip.onnx", "wb") as file:
        file.write(model(made["model"]["vocab"]))


main()
