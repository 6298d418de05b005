"""Which folder may include which: the arrows of the tree, checked line by line.

A rule names a folder; the most specific one that fits a file holds for it. `may` lists the folders
and files that it may include beside itself and the headers that CMake writes for everybody.
"""
import pathlib
import re

# The pure targets see values and flags only; the facade's headers see what its callers hold.
EXPORTED = ["include/svckiv"]
BELOW = EXPORTED + ["platform"]
PURE_FOR_HOSTS = BELOW + ["params", "link/render", "command/packet"]

RULES = {
    "include/svckiv": [
        "platform/platform_export.h",
        "platform/text",
        "platform/bounded/pool.h",
        "platform/catalogue/cmd_info.h",
    ],
    "platform": [],
    "params": BELOW,
    "service/message": BELOW,
    "channels": BELOW + ["service/message"],
    "settings": BELOW + ["service/message"],
    "cts": BELOW + ["service/message", "channels"],
    "link": BELOW + ["service/message", "params"],
    "link/render": BELOW + ["params"],
    "command": BELOW
    + ["service/message", "channels", "cts", "params", "link", "settings"],
    "command/packet": BELOW + ["params", "link/render"],
    "service": BELOW + ["command", "settings", "link"],
    "hosts": PURE_FOR_HOSTS,
    "tools": PURE_FOR_HOSTS,
    "device": ["board_catalogue.h"],
    "device/core": ["board_catalogue.h"],
    "fuzz": BELOW
    + ["params", "link", "command", "settings", "service", "device", "tests", "tools", "hosts"],
    "bench": BELOW
    + ["params", "link", "command", "settings", "service", "device", "tests", "tools", "hosts"],
    "tests": BELOW
    + ["params", "link", "command", "service", "channels", "settings", "cts", "device"]
    + ["tools", "hosts", "fuzz", "board_catalogue.h"],
}

# A folder within a folder belongs to its rule, but a folder named here is a target of its own: the
# one above it may include it only where that one's rule, or the rule of the tree below, says so.
SEPARATE = {
    "link/render": ["link", "command", "hosts", "tools", "command/packet"],
    "command/packet": ["command", "hosts", "tools"],
    "service/message": ["service", "command", "channels", "settings", "cts", "link"],
    "device/core": ["device"],
}

# Written by CMake: the version for everybody, the catalogue's structures for the device.
GENERATED = {"kiv_version.h": None, "board_catalogue.h": ["device", "tests", "fuzz"]}

# Headers of libraries and of the system that only these folders know.
KNOWS = [
    (r"sqlite3\.h|pugixml\.hpp|libdeflate\.h|asio(\.hpp|/.*)", ["platform"]),
    (r"nlohmann/.*", ["tools"]),
    (r"readline/.*|curses\.h|term\.h", ["hosts/terminal"]),
    (
        r"(sys|linux|netinet|arpa)/.*|unistd\.h|fcntl\.h|poll\.h|termios\.h|dirent\.h|pwd\.h"
        r"|netdb\.h|dlfcn\.h|spawn\.h|pthread\.h|windows\.h",
        ["platform", "device/linux"],
    ),
]
# Portable C without allocation or operating system.
CORE_SYSTEM_HEADERS = {
    "stdarg.h", "stdbool.h", "stddef.h", "stdint.h", "limits.h", "string.h", "assert.h",
}  # fmt: skip

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
SYSTEM_SWITCH = re.compile(
    r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*\b"
    r"(_WIN32|_WIN64|__linux__|__unix__|__APPLE__|_MSC_VER|__MINGW32__|Q_OS_\w+)\b"
)
SUFFIXES = {".h", ".hpp", ".c", ".cpp"}
TOPS = sorted({rule.split("/")[0] for rule in RULES} | {"catalogues", "packaging"})


def within(path, folder):
    """Whether `path` is the file `folder` or lies in the folder of that name."""
    return path == folder or path.startswith(folder + "/")


def most_specific(path, folders):
    fitting = [folder for folder in folders if within(path, folder)]
    return max(fitting, key=len, default=None)


def root_path(included):
    """The path from the root that an include names: exported headers stand under include/."""
    return "include/" + included if included.startswith("svckiv/") else included


def may_include(path, target):
    rule = most_specific(path, RULES)
    if rule is None:
        return False
    separate = most_specific(target, SEPARATE)
    if rule in ("tests", "fuzz", "bench"):
        return within(target, rule) or any(within(target, may) for may in RULES[rule])
    if separate and not within(path, separate):
        return rule in SEPARATE[separate]
    return within(target, rule) or any(within(target, may) for may in RULES[rule])


def check_quoted(root, path, included):
    if included in GENERATED:
        users = GENERATED[included]
        if users is None or any(within(path, user) for user in users):
            return None
        return f"{included} is for {' and '.join(users)} only"
    target = root_path(included)
    if target.split("/")[0] not in TOPS:
        return "is not written from the root of the tree"
    if root is not None and not (root / target).is_file():
        return "does not exist"
    if not may_include(path, target):
        return f"breaks an arrow: {most_specific(path, RULES)} may not include it"
    return None


def check_system(path, included):
    rule = most_specific(path, RULES)
    if rule in ("tests", "fuzz", "bench"):
        return None
    if within(path, "device/core") and included not in CORE_SYSTEM_HEADERS:
        return "the device's core knows no system"
    if re.match(r"Q[A-Z]|Qt", included):
        if within(path, "device"):
            return "no Qt in the device"
        if within(path, "platform") and path != "platform/text/qt_text.h":
            return "no Qt in the platform"
    for pattern, folders in KNOWS:
        if re.fullmatch(pattern, included) and not any(within(path, f) for f in folders):
            return f"only {' and '.join(folders)} may know it"
    return None


def check_file(root, path, text):
    """Findings as "path:line: reason" of one file; `path` is relative to the root."""
    findings = []
    for number, line in enumerate(text.splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            quoted, system = match.groups()
            reason = check_quoted(root, path, quoted) if quoted else check_system(path, system)
            if reason:
                findings.append(f"{path}:{number}: {quoted or system} {reason}")
        exported_macro = path.endswith("_export.h")
        if SYSTEM_SWITCH.match(line) and not (within(path, "platform") or exported_macro):
            findings.append(f"{path}:{number}: only platform may ask for the system")
    return findings


def sources(root):
    """All sources of the tree, as paths relative to the root."""
    for top in TOPS:
        for file in sorted((root / top).rglob("*")):
            if file.suffix in SUFFIXES and file.is_file():
                yield file.relative_to(root).as_posix()


def check_tree(root):
    findings = []
    for path in sources(root):
        findings += check_file(root, path, (root / path).read_text("utf-8"))
    return findings


def folder_edges(root):
    """Pairs (folder, included folder) with one include that makes each."""
    edges = {}
    for path in sources(root):
        if path.split("/")[0] in ("tests", "fuzz", "bench"):
            continue
        for line in (root / path).read_text("utf-8").splitlines():
            match = INCLUDE.match(line)
            if not match or not match.group(1) or match.group(1) in GENERATED:
                continue
            here = str(pathlib.PurePosixPath(path).parent)
            there = str(pathlib.PurePosixPath(root_path(match.group(1))).parent)
            if here != there:
                edges.setdefault((here, there), f"{path} includes {match.group(1)}")
    return edges


def cycles(edges):
    """Groups of folders that reach each other, each as a list of the includes inside the group."""
    after = {}
    for here, there in edges:
        after.setdefault(here, set()).add(there)

    def reach(start):
        seen, todo = set(), [start]
        while todo:
            for there in after.get(todo.pop(), ()):
                if there not in seen:
                    seen.add(there)
                    todo.append(there)
        return seen

    reached = {folder: reach(folder) for folder in after}
    groups = set()
    for folder, there in reached.items():
        if folder in there:
            groups.add(frozenset(f for f in there if folder in reached.get(f, ())))
    return [
        sorted(text for (a, b), text in edges.items() if a in group and b in group)
        for group in sorted(groups, key=sorted)
    ]
