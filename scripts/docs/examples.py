"""The examples of the pages, read and run: pictures opened, the five methods, sizes worked out, pictures saved."""
import ast
import operator
import re

BLOCK = re.compile(r"^```vb\n(.*?)^```$", re.M | re.S)
OPENED = re.compile(r'Dim (\w+) As Picture = Picture\.Open\("([^"]+)"\)')
CALLED = re.compile(r"Dim (\w+) As (Picture|Boolean) = (\w+)\.(\w+KTZ)\((.*)\)")
NUMBER = re.compile(r"Dim (\w+) As (?:Double|Integer) = (.*)")
SAVED = re.compile(r'(\w+)\.Save\("([^"]+)", Picture\.SaveAsPNG\)')
DECLARATION = re.compile(r"(\w+)\((.*)\) as (\w+)")

OPERATORS = {ast.Add: operator.add, ast.Sub: operator.sub, ast.Mult: operator.mul, ast.Div: operator.truediv}
FUNCTIONS = {"Min": min, "Max": max}


class ExampleError(Exception):
    pass


def examples(text):
    """The blocks of a page that open and save pictures; others only show how something is written."""
    return [block for block in BLOCK.findall(text) if ".Open(" in block and ".Save(" in block]


def parameters(declaration):
    """A declaration's parameters: name, type and the default as it is written, or None."""
    inside = DECLARATION.fullmatch(declaration)[2]
    found = [re.fullmatch(r"(\w+) as (\w+)(?:\s*=\s*(\S+))?", part.strip()) for part in inside.split(",")]
    return [(match[1], match[2], match[3]) for match in found]


class File:
    """A picture of the example: a file, and its size in pixels."""

    def __init__(self, path, width, height):
        self.path, self.Width, self.Height = path, width, height


class Example:
    """Runs one block, line by line. `declarations`: the methods' declarations by name."""

    def __init__(self, command, media, declarations):
        self._command, self._media, self._declarations = command, media, declarations
        self._values = {"True": True, "False": False}
        self._reports = {}

    def run(self, block, save):
        """Calls `save(name, path, report)` for every picture saved."""
        for line in block.splitlines():
            code = line.split("'")[0].strip()
            if code:
                self._statement(code, save)

    def _statement(self, code, save):
        if match := OPENED.fullmatch(code):
            self._open(*match.groups())
        elif match := CALLED.fullmatch(code):
            self._call(*match.groups())
        elif match := SAVED.fullmatch(code):
            path = self._picture(match[1]).path
            if path not in self._reports:
                raise ExampleError(f"{match[1]} was saved as it was opened")
            save(match[2], path, self._reports[path])
        elif match := NUMBER.fullmatch(code):
            self._values[match[1]] = self._value(match[2])
        else:
            raise ExampleError(f"not understood: {code}")

    def _open(self, name, file):
        report = self._command.unchanged(self._media / file, self._command.new_file())
        self._values[name] = File(self._media / file, **report["source"])

    def _call(self, name, kind, subject, method, arguments):
        given = [argument.strip() for argument in _split(arguments)]
        declared = parameters(self._declarations[method])
        if len(given) > len(declared):
            raise ExampleError(f"{method} takes {len(declared)} parameters, not {len(given)}")
        values = {}
        for index, (parameter, form, default) in enumerate(declared):
            if index >= len(given) and default is None:
                raise ExampleError(f"{method} needs {parameter}")
            value = self._value(given[index] if index < len(given) else default.capitalize())
            values[parameter] = int(value) if form == "integer" else value
        out = self._command.new_file()
        report = self._command.report(*_command_line(method, self._picture(subject).path, values, out))
        self._reports[out] = report
        size = report["result"]
        target = subject if kind == "Boolean" else name
        self._values[target] = File(out, size["width"], size["height"])

    def _picture(self, name):
        if not isinstance(self._values.get(name), File):
            raise ExampleError(f"{name} is not a picture")
        return self._values[name]

    def _value(self, text):
        return self._number(ast.parse(text, mode="eval").body)

    def _number(self, node):
        if isinstance(node, ast.Constant):
            return node.value
        if isinstance(node, ast.Name) and node.id in self._values:
            return self._values[node.id]
        if isinstance(node, ast.Attribute) and node.attr in ("Width", "Height"):
            return getattr(self._picture(node.value.id), node.attr)
        if isinstance(node, ast.BinOp) and type(node.op) in OPERATORS:
            return OPERATORS[type(node.op)](self._number(node.left), self._number(node.right))
        if isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.USub):
            return -self._number(node.operand)
        if isinstance(node, ast.Call) and node.func.id in FUNCTIONS:
            return FUNCTIONS[node.func.id](*map(self._number, node.args))
        raise ExampleError(f"not understood: {ast.unparse(node)}")


def _split(arguments):
    """The arguments of a call, at the commas outside parentheses."""
    return re.split(r",(?![^(]*\))", arguments) if arguments.strip() else []


def _command_line(method, path, values, out):
    """The command's arguments for a call of `method` on the picture at `path`."""
    size = ["--size", f"{values.get('width')}x{values.get('height')}"]
    pace = ["--yield", values.get("yield", values.get("YieldTicks"))]
    smooth = ["--antialias"] if values.get("AntiAlias") else []
    if method == "ScaleKTZ":
        return ["scale", path, out, *size, *smooth, *pace]
    if method == "ScaleImageAndMaskKTZ":
        return ["scale", path, out, "--mask", *size, *smooth, *pace]
    if method == "ScalingKTZ":
        return ["resample", path, out, *size, "--kernel", values["mode"], *pace]
    if method == "BlurKTZ":
        return ["blur", path, out, "--radius", values["Radius"], *pace]
    at = ["--at", f"{values['x']},{values['y']}"]
    return ["draw", values["pic"].path, path, out, *at, "--opacity", values["alpha"], *pace]
