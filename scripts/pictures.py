"""What the demonstration and the site show: the command line at work on sample pictures."""
import json
import subprocess

METHODS = ("none", "floyd-steinberg", "stucki", "burkes", "sierra", "stevenson-arce", "jarvis",
           "ordered")

# Each by its options, which are also its name below the picture; "middle" is a rectangle in it.
PROCESSING = (
    "", "--rotate 20", "--rotate 20:smooth:224466", "--rotate -90", "--flip h", "--flip v",
    "--crop middle", "--blur 9", "--median 9", "--sharpen 400", "--mosaic 8",
    "--despeckle 8", "--kernel '-2 -1 0 -1 1 1 0 1 2'", "--erode 5", "--dilate 5", "--open 7",
    "--close 7", "--brightness 250", "--brightness -250", "--contrast 400", "--contrast -500",
    "--saturation -1000", "--saturation 1000", "--hue 120", "--invert", "--posterize 4",
    "--equalize", "--halftone 6")
SIZES = [f"--size {size} --size-method {method}" for size, methods in (
    ("30%", ("nearest", "box", "triangle", "lanczos")),
    ("400%", ("nearest", "triangle", "cubic", "mitchell"))) for method in methods]


class ToolError(Exception):
    """The command line refused; the text is its line on standard error."""


class Tool:
    def __init__(self, program, folder):
        self.program = program
        self.folder = folder

    def run(self, *arguments, statuses=(0,)):
        done = subprocess.run([self.program, *map(str, arguments)], capture_output=True, text=True,
                              check=False)
        if done.returncode not in statuses:
            raise ToolError(done.stderr.strip() or f"exit status {done.returncode}")
        return done

    def json(self, *arguments):
        return json.loads(self.run(*arguments, "--json").stdout)

    def info(self, path):
        return self.json("info", path)[0]

    def middle(self, picture, width, height):
        """The rectangle of at most this size in the middle of a picture."""
        info = self.info(picture)
        width, height = min(width, info["width"]), min(height, info["height"])
        return f"{width}x{height}+{(info['width'] - width) // 2}+{(info['height'] - height) // 2}"

    def detail(self, picture):
        """A sixth of a picture across and down, where the sample has a house."""
        info = self.info(picture)
        width, height = info["width"], info["height"]
        return f"{max(1, width // 6)}x{max(1, height // 6)}+{width * 3 // 5}+{height * 2 // 3}"

    def processing(self, picture):
        """The options of PROCESSING as they suit a picture."""
        rectangle = self.middle(picture, 120, 90)
        return [options.replace("middle", rectangle) for options in PROCESSING]
