"""Drives the built program from outside, as a desktop and its user would."""
