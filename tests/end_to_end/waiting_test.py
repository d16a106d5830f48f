#!/usr/bin/python3
"""How tests wait."""

import errno
import os
import resource
import unittest

from waiting import FolderWatch


class FolderWatches(unittest.TestCase):
    def test_one_too_many_says_what_to_do(self):
        # No more descriptors of this process, to the same effect as no more watches of its user (inotify_init(2)).
        limits = resource.getrlimit(resource.RLIMIT_NOFILE)
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, limits)
        with open(os.devnull, "rb") as last:
            resource.setrlimit(resource.RLIMIT_NOFILE, (last.fileno() + 1, limits[1]))
            with self.assertRaises(OSError) as raised:
                FolderWatch("/")
        self.assertEqual(raised.exception.errno, errno.EMFILE)
        self.assertIn("fs.inotify.max_user_instances", str(raised.exception))


if __name__ == "__main__":
    unittest.main()
