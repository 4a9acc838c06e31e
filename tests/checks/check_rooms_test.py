#!/usr/bin/python3
"""The room check finds what it is there to find."""

import pathlib
import subprocess
import tempfile
import unittest

CHECK = pathlib.Path(__file__).resolve().parents[2] / "tools" / "check-rooms"

# File, its text, and what the check must say of it; None when it must be silent.
ROWS = [
    ("Base/Unicode/Text.cpp", "#include <unicode/ucol.h>\n#include <sys/stat.h>", None),
    ("Base/Text.h", '#include "Models/ClipItem.h"', 'may not include "Models/ClipItem.h"'),
    ("Models/Json/ClipItem.cpp", "#include <rapidjson/reader.h>", None),
    ("Models/ClipItem.cpp", '#include "Models/Json/JsonForm.h"', "may not include"),
    ("Models/ClipItem.h", "#include <QString>", "may not include <QString>"),
    ("Services/Monitor.cpp", '#include "Platform/Pasteboard.h"', None),
    ("Services/Monitor.cpp", '#include "Platform/X11/Selection.h"', "may not include"),
    ("Services/Monitor.cpp", "  #  include <QtCore/QObject>", "may not include <QtCore/QObject>"),
    ("Core/AppState.h", '#include "Services/StorageStoring.h"', "may not include"),
    ("UI/Panel/HistoryViewModel.h", '#include "Services/StorageManager.h"', "may not include"),
    ("UI/Panel/HistoryViewModel.cpp", '#include "Services/PasteSimulating.h"', None),
    ("UI/Panel/HistoryViewModel.h", '#include "UI/Controls/TextField.h"', "may not include"),
    ("UI/Panel/HistoryView.cpp", '#include <QWidget>\n#include "UI/Controls/TextField.h"', None),
    ("UI/Panel/HistoryView.cpp", '#include "UI/Settings/SettingsView.h"', "may not include"),
    ("UI/Looks/Theme.cpp", '#include "UI/Controls/TextField.h"', "may not include"),
    ("UI/HistoryView.cpp", "", "belongs to no room"),
    ("Platform/Pasteboard.h", "#include <xcb/xcb.h>", "may not include <xcb/xcb.h>"),
    ("Platform/Clipboard/Targets.h", "#include <xcb/xcb.h>", "may not include <xcb/xcb.h>"),
    ("Platform/X11/Selection/Claim.h", "#include <QObject>", "may not include <QObject>"),
    ("Platform/X11/Selection/Claim.cpp", "#include <QObject>\n#include <xcb/xfixes.h>", None),
    ("Platform/X11/Selection/Claim.cpp", '#include "Platform/X11/X11Connection.h"', None),
    ("Platform/X11/Selection/Claim.cpp", '#include "Platform/X11/Keys/X11Keys.h"', "may not include"),
    ("Platform/X11/X11Connection.h", '#include "Platform/X11/Keys/X11Keys.h"', "may not include"),
    ("Platform/X11/X11Platform.cpp", '#include "Platform/X11/Keys/X11Keys.h"', None),
    ("Platform/Desktop/Applications/Ids.cpp", '#include "Platform/X11/A.h"', "may not include"),
    ("Platform/Desktop/Bus/Item.cpp", '#include "Platform/Desktop/Tray/A.h"', "may not include"),
    ("Platform/selectPlatform.cpp", '#ifdef STOWBOARD_X11\n#include "Platform/X11/A.h"\n#endif', None),
    ("App/App.cpp", '#include "Platform/select.h"\n#include "UI/Panel/HistoryPanel.h"', None),
    ("App/App.cpp", '#include "Platform/Desktop/Bus/Name.h"', "may not include"),
    ("Utils/Text.cpp", "#if defined(__linux__)\n#endif", "asks for the platform with __linux__"),
    ("Base/Text.cpp", "#include <boost/asio.hpp>", "may not include <boost/asio.hpp>"),
    ("Helpers/Text.cpp", "", "belongs to no room"),
]


def check(files):
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = pathlib.Path(folder, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        return subprocess.run([CHECK, folder], capture_output=True, text=True)


class CheckRooms(unittest.TestCase):
    def test_each_room_may_include_what_it_may(self):
        for name, text, complaint in ROWS:
            with self.subTest(file=name, text=text):
                result = check({name: text})
                self.assertEqual(result.returncode, 1 if complaint else 0, result.stdout)
                self.assertIn(f"{name}: " if complaint else "", result.stdout)
                self.assertIn(complaint or "", result.stdout)

    def test_a_source_includes_its_own_header_first(self):
        header = {"Base/Text.h": ""}
        late = {"Base/Text.cpp": '#include <vector>\n#include "Base/Text.h"'}
        first = {"Base/Text.cpp": '#include "Base/Text.h"\n#include <vector>'}
        self.assertIn('must include "Base/Text.h" first', check(header | late).stdout)
        self.assertEqual(check(header | first).returncode, 0)

    def test_an_empty_folder_is_no_success(self):
        self.assertEqual(check({}).returncode, 2)


if __name__ == "__main__":
    unittest.main()
