"""Makes the source that holds the shipped protocols: embed.py MADE PROTOCOL..."""

import sys
from pathlib import Path

DELIMITER = "PROTOCOL"


def source(paths):
    yield "// Made by comparison/protocols/embed.py from the documents beside it.\n"
    yield '#include "comparison/documents/protocols.h"\n\nnamespace zarngi\n{\n\n'
    yield "const std::vector<ShippedProtocol>& shippedProtocols()\n{\n"
    yield "    static const std::vector<ShippedProtocol> all{\n"
    for path in sorted(paths):
        yield f'        {{"{path.stem}", R"{DELIMITER}({path.read_text(encoding="ascii")}){DELIMITER}"}},\n'
    yield "    };\n    return all;\n}\n\n} // namespace zarngi\n"


if __name__ == "__main__":
    Path(sys.argv[1]).write_text("".join(source(map(Path, sys.argv[2:]))), encoding="ascii")
