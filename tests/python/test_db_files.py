"""A host's saves never overwrite another writer's work by accident: the lock and the
changed-on-disk check, seen from Python."""
import multiprocessing
import os
import tempfile
import unittest

import rykel


def settings(**items):
    s = rykel.cls_Structure()
    for key, value in items.items():
        s.ITEM_LET(key, value)
    return s


def hold_lock(path, ready, done):
    db = rykel.cls_DB()
    db.DBOPEN(path, "", False, settings(LOCK=True))
    ready.set()
    done.wait(20)


class DatabaseFilesTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.addCleanup(self.dir.cleanup)
        rykel.SetNotifier(lambda *notification: "OK")
        self.addCleanup(rykel.SetNotifier, None)
        self.path = os.path.join(self.dir.name, "p.ry-dbb")
        header = os.path.join(self.dir.name, "p.header")
        db = rykel.cls_DB()
        db.FIELDCREATE("NAME", rykel.ID_DBFieldType_String)
        self.assertTrue(db.HEADERSAVE(header))
        self.assertTrue(db.DBOPEN(self.path, header, False))
        db.ENTRYCHANGED_LET(True)
        self.assertTrue(db.DBSAVE())
        db.DBCLOSE()

    def test_changed_on_disk_refused_unless_forced(self):
        a, b = rykel.cls_DB(), rykel.cls_DB()
        self.assertTrue(a.DBOPEN(self.path))
        self.assertTrue(b.DBOPEN(self.path))
        b.ENTRYADD(b.ENTRYFREEID())
        self.assertTrue(b.DBSAVE())
        a.ENTRYADD(a.ENTRYFREEID())
        self.assertFalse(a.DBSAVE())
        self.assertIn("changed on disk since it was opened or last saved", a.DBSAVEERROR_GET())
        self.assertTrue(a.DBSAVE(pForce=True))
        self.assertEqual(a.DBSAVEERROR_GET(), "")

    def test_a_held_lock_makes_other_writers_wait_then_give_up(self):
        ctx = multiprocessing.get_context("fork")
        ready, done = ctx.Event(), ctx.Event()
        holder = ctx.Process(target=hold_lock, args=(self.path, ready, done))
        holder.start()
        self.addCleanup(holder.join)
        self.addCleanup(done.set)
        self.assertTrue(ready.wait(20))
        db = rykel.cls_DB()
        self.assertFalse(db.DBOPEN(self.path, "", False, settings(LOCK=True, LOCKWAIT=0.1)))
        self.assertEqual(db.DBOPENERROR_GET(), "'%s' is locked by another process" % self.path)
        self.assertTrue(db.DBOPEN(self.path, "", False, settings(LOCKWAIT=0.1)))
        db.ENTRYADD(1)
        self.assertFalse(db.DBSAVE())
        self.assertIn("is locked by another process", db.DBSAVEERROR_GET())
        done.set()
        holder.join()
        self.assertTrue(db.DBSAVE())


if __name__ == "__main__":
    unittest.main()
