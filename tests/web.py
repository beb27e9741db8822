"""tests/web.py PAGE TAVO: the page in Chromium, judged by what the command line makes of the same files.
Files: those of TAVO_CORPUS, or else the fuzz targets' seeds. The last line is the count."""
import gzip
import hashlib
import itertools
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

from PIL import Image

from browser import Browser

Image.MAX_IMAGE_PIXELS = None
ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SEEDS = os.path.join(ROOT, 'fuzz/seeds')
CORPUS = os.environ.get('TAVO_CORPUS')
WAIT = 'document.getElementById("view").getAttribute("aria-busy") === "false"'
STATUS = 'document.getElementById("status").textContent'
PIXELS = '''(async () => {
  const c = document.getElementById('picture');
  const { data } = c.getContext('2d').getImageData(0, 0, c.width, c.height);
  const hash = new Uint8Array(await crypto.subtle.digest('SHA-256', data));
  return { size: [c.width, c.height], hash: [...hash].map((b) => b.toString(16).padStart(2, 0)).join(''),
           alpha: c.classList.contains('alpha') };
})()'''
counts = {True: 0, False: 0}


def check(name, passed, detail=''):
    counts[bool(passed)] += 1
    print(f'ok: {name}' if passed else f'FAILED: {name}: {detail}', flush=True)


def is_reference(name):
    return CORPUS and name.startswith(CORPUS) and name.endswith(('.png', '.tsv', '.md'))


def files_below(folder, most):
    """So many files, of every folder in it in turn."""
    folders = [sorted(os.path.join(at, name) for name in names
                      if not is_reference(os.path.join(at, name)))
               for at, _, names in sorted(os.walk(folder)) if '/sources' not in at]
    turns = itertools.chain.from_iterable(itertools.zip_longest(*folders))
    return list(itertools.islice(filter(None, turns), most))


def pixels_of(name):
    with Image.open(name) as picture:
        rgba = picture.convert('RGBA')
        return {'size': list(rgba.size), 'hash': hashlib.sha256(rgba.tobytes()).hexdigest()}


class Tests:
    def __init__(self, page, tavo, folder):
        self.tavo, self.folder = tavo, folder
        self.browser = Browser(os.path.join(folder, 'profile'))
        self.page = self.browser.open('file://' + os.path.abspath(page))
        self.good = files_below(os.path.join(SEEDS, 'png'), 1)[0]

    def show(self, name):
        self.page.run('document.getElementById("view").setAttribute("aria-busy", "true")')
        self.page.choose('#choose', [name])
        self.page.wait(WAIT, 90)
        return self.page.run(STATUS)

    def matches(self, found, expected):
        return all(found[key] == expected[key] for key in ('size', 'hash'))

    def convert(self, name, *options):
        """What the command line makes of the first page; None where it makes nothing."""
        made = os.path.join(self.folder, 'made.bmp')
        done = subprocess.run([self.tavo, 'convert', '--page', '1', '--orient', *options, name, made],
                              capture_output=True)
        return made if done.returncode in (0, 3) else None

    def same_pixels(self, wanted):
        seen, wrong = 0, []
        for name in files_below(CORPUS or SEEDS, 400):
            if seen == wanted or '/bad/' in name:
                continue
            made = self.convert(name, '--max-pixels', '20000000')
            if made is None:
                continue
            self.show(name)
            found = self.page.run(PIXELS)
            if found['alpha']:  # a canvas keeps colours and opacity multiplied
                continue
            seen += 1
            if not self.matches(found, pixels_of(made)):
                wrong.append(name)
        check(f'{seen} files have the pixels of tavo convert', seen >= wanted and not wrong, wrong)

    def large_picture(self):
        drawing, made = (os.path.join(self.folder, name) for name in ('large.tif', 'large.bmp'))
        picture = Image.linear_gradient('L').resize((12000, 7000)).convert('1')
        picture.save(drawing, compression='group4')
        subprocess.run([self.tavo, 'convert', '--size', '6000x3500', '--size-method', 'box',
                        drawing, made], check=True)
        self.show(drawing)
        check('84 million pixels are shown as 21', self.matches(self.page.run(PIXELS), pixels_of(made)))

    def cut_files(self):
        names = files_below(SEEDS, 80)
        for i, name in enumerate(names):
            with open(name, 'rb') as file, open(os.path.join(self.folder, f'cut{i}'), 'wb') as cut:
                cut.write(file.read()[:os.path.getsize(name) * 2 // 3])
        return [os.path.join(self.folder, f'cut{i}') for i in range(len(names))]

    def bad_files(self, folder):
        """Each leaves a message or a picture, and what is damaged is said as tavo says it."""
        names, silent, differing = files_below(folder, 250) + self.cut_files(), [], []
        for name in names:
            status = self.show(name)
            shown = self.page.run('document.getElementById("empty").hidden')
            if not shown and 'cannot be shown: ' not in status or 'gave up' in status:
                silent.append((name, status))
            info = subprocess.run([self.tavo, 'info', '--check', '--page', '1', name],
                                  capture_output=True, text=True, errors='replace').stdout
            rows = re.search(r', partial \((\d+ of \d+)', info)
            told = f'damaged: {rows[1]} rows' if rows else ''
            if shown and (told not in status.replace(',', '') or not told and 'damaged' in status):
                differing.append((name, status, info[-90:]))
        check(f'{len(names)} bad files leave a message or a picture', not silent, silent)
        check('damage is told as tavo tells it', not differing, differing)

    def bounded_memory(self):
        names = list(itertools.islice(itertools.cycle(files_below(CORPUS or SEEDS, 500)), 500))
        before, most = 0, 0
        for i, name in enumerate(names):
            self.show(name)
            if i % 5 == 0:
                most = max(most, self.browser.resident())
            if i == 100:
                before, most = most, 0
        check(f'after 500 files {most >> 20} MiB at most, {before >> 20} MiB in the first 100',
              most < before + (512 << 20))

    def broken_worker(self):
        breaks = {'a trap': 'Module._open_page = (f, s, p) => Module._save_page(-256, 255, 1, 200, 0)',
                  'no decoder': 'Module._open_page = () => { throw new Error("x"); }'}
        for what, script in breaks.items():
            self.show(self.good)
            self.browser.workers[-1].run(script)
            status = self.show(self.good)
            check(f'{what} costs a message', 'gave up' in status, status)
            status = self.show(self.good)
            check(f'{what}: the next file is shown', 'cannot' not in status, status)
        self.browser.workers[-1].run('Module._open_page = () => { for (;;); }')
        self.page.choose('#choose', [self.good])
        time.sleep(0.5)
        self.page.press('Escape', 27)
        self.page.wait(WAIT)
        check('Escape stops what does not end', 'Stopped' in self.page.run(STATUS))
        check('and the next file is shown', 'cannot' not in self.show(self.good))

    def saves(self, name):
        downloads = os.path.join(self.folder, 'downloads')
        self.browser.call('Browser.setDownloadBehavior', behavior='allow', downloadPath=downloads)
        self.show(name)
        shown = self.page.run(PIXELS)
        for extension in ('png', 'bmp', 'tif'):
            shutil.rmtree(downloads, ignore_errors=True)
            self.page.run(f'document.querySelector("[data-extension={extension}]").click()')
            end, made = time.monotonic() + 30, []
            while time.monotonic() < end and not made:
                time.sleep(0.1)
                if os.path.isdir(downloads):
                    made = [n for n in os.listdir(downloads) if n.endswith('.' + extension)]
            found = pixels_of(os.path.join(downloads, made[0])) if made else {'size': 0, 'hash': 0}
            check(f'{os.path.basename(name)} as {extension}', self.matches(shown, found),
                  (made, found, shown))

    def keys(self, name):
        self.show(name)
        def after(key, code, script):
            self.page.press(key, code)
            self.page.wait(WAIT)
            return self.page.run(f'document.getElementById("{script}").value')
        steps = [('PageDown', 34, 'page', '2'), ('End', 35, 'page', '3'), ('Home', 36, 'page', '1'),
                 ('1', 49, 'zoom', '100 %'), ('+', 187, 'zoom', '125 %'), ('-', 189, 'zoom', '100 %')]
        for key, code, what, expected in steps:
            found = after(key, code, what)
            check(f'key {key}', found == expected, found)

    def missing_page(self, name):
        """A file that is cut in its last page: the others are still to be had."""
        with open(name, 'r+b') as file:
            file.truncate(os.path.getsize(name) - 30)
        self.show(name)
        for key, code, word in (('End', 35, 'damaged'), ('Home', 36, 'page 1 of 3')):
            self.page.press(key, code)
            self.page.wait(WAIT)
            status = self.page.run(STATUS)
            check(f'of a cut file {key} gives "{word}"', word in status, status)

    def keeps_to_itself(self):
        blocked = self.page.run('''new Promise((resolve) => {
          addEventListener('securitypolicyviolation', (event) => resolve(event.effectiveDirective));
          fetch('http://127.0.0.1:9/').catch(() => setTimeout(() => resolve('nothing'), 2000));
        })''')
        check('the page cannot send anything', blocked == 'connect-src', blocked)

    def accessible(self):
        nameless = []
        for node in self.page.call('Accessibility.getFullAXTree')['nodes']:
            role = node.get('role', {}).get('value')
            if role in ('button', 'spinbutton', 'image', 'region', 'toolbar') and \
                    not node.get('ignored') and not node.get('name', {}).get('value'):
                nameless.append(node['nodeId'])
        check('every control has a name', not nameless, nameless)
        self.page.run('document.activeElement.blur()')
        order = []
        for _ in range(4):
            self.page.press('Tab', 9)
            order.append(self.page.run('document.activeElement.id'))
        check('the focus goes from top to bottom', order == ['choose', 'out', 'in', 'fit'], order)


def main():
    page, tavo = sys.argv[1:3]
    with open(page, 'rb') as file:
        size = len(gzip.compress(file.read(), 9))
    check(f'the page has {size} bytes compressed', size < 500_000)
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as folder:
        tests = Tests(page, os.path.abspath(tavo), folder)
        try:
            pages, cut = (os.path.join(folder, name) for name in ('pages.tif', 'cut.dcx'))
            for name in files_below(os.path.join(SEEDS, 'png'), 3):
                for made in (pages, cut):
                    subprocess.run([tavo, 'convert', '--append', name, made],
                                   check=True, capture_output=True)
            tests.keys(pages)
            tests.missing_page(cut)
            tests.accessible()
            tests.keeps_to_itself()
            tests.saves(pages)
            for kind in ('bmp', 'cals', 'gif', 'pcx', 'pict', 'ras', 'tga', 'wmf'):
                tests.saves(files_below(os.path.join(SEEDS, kind), 99)[-1])
            tests.broken_worker()
            tests.large_picture()
            tests.same_pixels(100)
            tests.bad_files(os.path.join(CORPUS, 'bad') if CORPUS else SEEDS + '/../regressions')
            tests.bounded_memory()
        finally:
            tests.browser.close()
    print(f'{counts[True]} passed, {counts[False]} failed')
    return counts[False] != 0


if __name__ == '__main__':
    sys.exit(main())
