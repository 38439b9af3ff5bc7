"""What the tests share: pictures that are made here."""

import numpy
import pytest

import nuv


def pytest_addoption(parser):
    parser.addoption("--module", help="the compiled part: what has to be built for the tests")


@pytest.fixture(scope="session")
def samples():
    """40 lines of 60 pixels in RGB, no two lines alike."""
    return (numpy.arange(40 * 60 * 3) * 7 % 251).astype(numpy.uint8).reshape(40, 60, 3)


@pytest.fixture(scope="session")
def jpeg(samples):
    return nuv.from_array(samples).jpeg(90, "444")
