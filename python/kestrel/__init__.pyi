# Type stubs of the package: every public name comes from the compiled module.
from ._kestrel import *
