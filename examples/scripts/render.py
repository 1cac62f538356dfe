#!/usr/bin/env python3
"""Renders one frame and runs the check: render.py INSTANCE THREAD FRAME SCENE"""
import os
import signal
import subprocess
import sys


def shell_code(code):
    """subprocess gives -N for signal N, a shell and the farm 128 + N."""
    return 128 - code if code < 0 else code


def main():
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    instance, thread, frame, scene = sys.argv[1:]
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    render = os.environ.get("RENDERAPP", "renderapp")
    code = shell_code(subprocess.call([render, "-frame", frame, scene]))
    sys.stdout.flush()
    check = os.environ.get("QZ_CHECK", "qzCheckExitcode")
    # The name right behind the frame; the kernel keeps 15 bytes of it.
    subprocess.call([check, str(code), instance, thread, frame, "renderapp"])
    return code


if __name__ == "__main__":
    sys.exit(main())
