"""The emitters: each turns an Interface into the text of one file."""
