# In place of the options of GNU compilers, when the Microsoft compiler builds the module: docs/windows.md says how. It
# takes that of Visual Studio 2022, whose /fp:precise fuses no multiply-adds; those would change pixels.

qm_add_compile_options(/utf-8 /permissive- /Zc:__cplusplus /Zc:preprocessor /EHsc /fp:precise /W4)
if(QM_WARNINGS_AS_ERRORS)
    qm_add_compile_options(/WX)
endif()

# The stack protector (/GS) is a default, as are free addresses and no code in data. There are no checked copies.
macro(qm_harden_directory)
endmacro()
