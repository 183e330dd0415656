"""The layers of src/: a folder includes only itself and folders of a lower rank.

The ranks come from CMakeLists.txt (RYKEL_LAYERS), the one place they are written. Run by ctest;
standalone: python3 -m unittest discover -s tests/layers (from the source folder).
"""
import os
import re
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)


def layers(cmake_text):
    """{folder: rank} from the RYKEL_LAYERS line of CMakeLists.txt."""
    m = re.search(r'set\(RYKEL_LAYERS ([^)]*)\)', cmake_text)
    return {name: int(rank) for name, rank in (e.split(':') for e in m.group(1).split())}


def violations(src, ranks):
    """One line per include that runs up, sideways or out of the tree, and per unranked folder."""
    found = []
    for folder in sorted(os.listdir(src)):
        path = os.path.join(src, folder)
        if not os.path.isdir(path):
            continue
        if folder not in ranks:
            found.append(f'{folder}/: a folder without a rank in RYKEL_LAYERS')
            continue
        for name in sorted(os.listdir(path)):
            if not name.endswith(('.h', '.cpp')):
                continue
            with open(os.path.join(path, name), encoding='utf-8') as f:
                text = f.read()
            for target in INCLUDE.findall(text):
                used = target.split('/')[0] if '/' in target else folder
                if '..' in target.split('/'):
                    found.append(f'{folder}/{name}: "{target}" leaves the folder')
                elif used not in ranks:
                    continue  # an outside library's header
                elif used != folder and ranks[used] >= ranks[folder]:
                    way = 'sideways' if ranks[used] == ranks[folder] else 'up'
                    found.append(f'{folder}/{name}: "{target}" runs {way} ({folder} {ranks[folder]} -> {used} {ranks[used]})')
    return found


class Layers(unittest.TestCase):
    def setUp(self):
        with open(os.path.join(ROOT, 'CMakeLists.txt'), encoding='utf-8') as f:
            self.ranks = layers(f.read())

    def test_source_tree_runs_down_only(self):
        self.assertEqual(violations(os.path.join(ROOT, 'src'), self.ranks), [])

    def test_checker_refuses_up_sideways_and_unranked(self):
        cases = [  # (folder, file, include, expected fault or None)
            ('frame', 'A.cpp', 'modules/mod_KELIO.h', 'runs up'),
            ('interpreter', 'B.h', 'database/cls_DBStore.h', 'runs up'),
            ('tools', 'C.cpp', 'export/cls_DBExport.h', 'runs sideways'),
            ('database', 'D.cpp', '../host/sys_Global.h', 'leaves the folder'),
            ('nowhere', 'E.cpp', 'frame/Error.h', 'without a rank'),
            ('modules', 'F.cpp', 'database/cls_DBStore.h', None),
            ('modules', 'I.cpp', 'host/cls_DB.h', 'runs up'),
            ('export', 'J.cpp', 'query/mdl_DBQuery.h', None),
            ('query', 'G.cpp', 'cls_DBSearch.h', None),
            ('host', 'H.cpp', 'fmt/format.h', None),
        ]
        for folder, name, target, fault in cases:
            with self.subTest(folder=folder, include=target), tempfile.TemporaryDirectory() as src:
                os.mkdir(os.path.join(src, folder))
                with open(os.path.join(src, folder, name), 'w', encoding='utf-8') as f:
                    f.write(f'#include <string>\n#include "{target}"\n')
                found = violations(src, self.ranks)
                if fault is None:
                    self.assertEqual(found, [])
                else:
                    self.assertEqual(len(found), 1, found)
                    self.assertIn(fault, found[0])


if __name__ == '__main__':
    unittest.main()
