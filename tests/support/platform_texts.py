# SPDX-License-Identifier: MIT
"""What the window shows in place of texts of the catalogue that tell the ways of another platform."""

BY_KEY = {
    "bottomPad": {"footer": "Empty space below the bottom row. At 0 the keys reach the keyboard's lower edge."},
    "stockLayout": {"title": "Plain bottom row (123, emoji, space, return)"},
    "glassPress": {"title": "Glass effect on pressed keys"},
    "deleteMode": {"footer": "A keyboard cannot highlight text in another program, so Live mode shows the erase in the "
                             "text itself and restores it if you slide back before releasing."},
    "lineChars": {"footer": "Programs do not tell a keyboard where lines wrap, so wrapped lines are estimated from "
                            "this value."},
    "dictMode": {"footer": "The keyboard's mic appears in its suggestion row once the service below is set up. Kavrin "
                           "records and hands the text to the keyboard; it is on the clipboard, too. Without a mic on "
                           "the keyboard you can still dictate with a key or from Kavrin's menu."},
    "gifSend": {"footer": "A keyboard cannot put an image into another program's text field. Inserting adds the GIF's "
                          "link, which chat programs turn into the GIF, and never touches the clipboard. Copy puts "
                          "the real image on the clipboard and asks the field to paste it."},
    "codeChips": {"footer": "A keyboard cannot read messages. For SMS to this machine's own modem: enable "
                            "kavrin-messages.service. From a mail filter or a linked phone: kavrinctl save-code. For "
                            "anything else: copy the code (or the line containing it) and it shows up here too."},
}


def shown(item):
    """An item of the catalogue as the window words it."""
    return item | BY_KEY.get(item.get("key"), {})
