"""Chromium without a window, driven through the pipes of its own protocol."""
import json
import os
import shlex
import subprocess
import time


class Session:
    """A target (a page, a worker) of the browser."""

    def __init__(self, browser, session):
        self.browser, self.session = browser, session

    def call(self, method, **params):
        return self.browser.call(method, self.session, **params)

    def run(self, script):
        """What a script says; it may be a promise."""
        answer = self.call('Runtime.evaluate', expression=script, awaitPromise=True,
                           returnByValue=True)
        if 'exceptionDetails' in answer:
            raise RuntimeError(answer['exceptionDetails']['exception'].get('description', script))
        return answer['result'].get('value')

    def wait(self, script, seconds=60):
        end = time.monotonic() + seconds
        while not (value := self.run(script)):
            if time.monotonic() > end:
                raise TimeoutError(script)
            time.sleep(0.02)
        return value

    def choose(self, selector, files):
        root = self.call('DOM.getDocument')['root']['nodeId']
        node = self.call('DOM.querySelector', nodeId=root, selector=selector)['nodeId']
        self.call('DOM.setFileInputFiles', nodeId=node, files=files)

    def press(self, key, code=0):
        text = {'text': key} if len(key) == 1 else {}
        for kind in ('keyDown', 'keyUp'):
            self.call('Input.dispatchKeyEvent', type=kind, key=key, windowsVirtualKeyCode=code,
                      **(text if kind == 'keyDown' else {}))


class Browser:
    def __init__(self, folder):
        there, here = os.pipe(), os.pipe()
        command = ['chromium', '--headless=new', '--remote-debugging-pipe', '--disable-gpu',
                   '--no-first-run', '--window-size=1280,860', f'--user-data-dir={folder}']
        if os.geteuid() == 0:
            command.append('--no-sandbox')
        self.process = subprocess.Popen(
            ['sh', '-c', f'exec {shlex.join(command)} 3<&{there[0]} 4>&{here[1]}'],
            pass_fds=(there[0], here[1]), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(there[0])
        os.close(here[1])
        self.to, self.back = there[1], here[0]
        self.rest, self.calls, self.workers = b'', 0, []

    def call(self, method, session=None, **params):
        self.calls += 1
        message = {'id': self.calls, 'method': method, 'params': params}
        if session:
            message['sessionId'] = session
        os.write(self.to, json.dumps(message).encode() + b'\0')
        while True:
            answer = self.next_message()
            if answer.get('id') == self.calls:
                if 'error' in answer:
                    raise RuntimeError(f'{method}: {answer["error"]}')
                return answer['result']

    def next_message(self):
        while b'\0' not in self.rest:
            part = os.read(self.back, 1 << 20)
            if not part:
                raise RuntimeError('the browser has ended')
            self.rest += part
        line, self.rest = self.rest.split(b'\0', 1)
        message = json.loads(line)
        if message.get('method') == 'Target.attachedToTarget':
            self.workers.append(Session(self, message['params']['sessionId']))
        return message

    def open(self, url):
        target = self.call('Target.createTarget', url=url)['targetId']
        session = self.call('Target.attachToTarget', targetId=target, flatten=True)['sessionId']
        page = Session(self, session)
        page.call('Page.enable')
        self.workers = []
        page.call('Target.setAutoAttach', autoAttach=True, waitForDebuggerOnStart=False, flatten=True)
        page.wait('location.protocol !== "about:" && document.readyState === "complete"')
        return page

    def resident(self):
        """Bytes that the processes of the browser have, those of the page among them."""
        pages = 0
        for number in filter(str.isdigit, os.listdir('/proc')):
            try:
                if os.getsid(int(number)) == self.process.pid:
                    with open(f'/proc/{number}/statm') as file:
                        pages += int(file.read().split()[1])
            except (OSError, ValueError):
                pass
        return pages * os.sysconf('SC_PAGESIZE')

    def close(self):
        try:
            self.call('Browser.close')
        except (OSError, RuntimeError):
            pass
        self.process.wait(20)
