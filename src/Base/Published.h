#pragma once
// published value; see Base/Published (to be written)
