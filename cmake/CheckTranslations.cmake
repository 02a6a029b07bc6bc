# SPDX-FileCopyrightText: 2026 The Airnote developers
# SPDX-License-Identifier: GPL-3.0-or-later

# cmake -DLUPDATE=<lupdate> -DTEXTS=<list file of the sources> -DCATALOGS=<folder> -DWORK=<folder> -P CheckTranslations.cmake
# Updates copies of the catalogs from the sources, as `update_translations` does,
# and fails when a text is left without a translation lrelease would keep.
foreach(language en fr)
    set(copy ${WORK}/airnote_${language}.ts)
    configure_file(${CATALOGS}/airnote_${language}.ts ${copy} COPYONLY)
    set(options -source-language fr -no-obsolete -locations none -silent)
    if(language STREQUAL "fr")
        list(APPEND options -pluralonly)
    endif()
    execute_process(COMMAND ${LUPDATE} ${options} @${TEXTS} -ts ${copy} RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "lupdate failed on airnote_${language}.ts")
    endif()
    # lrelease leaves out what is unfinished, vanished or obsolete in the catalog itself too.
    file(READ ${CATALOGS}/airnote_${language}.ts committed)
    file(READ ${copy} catalog)
    string(REGEX MATCHALL "<source>[^<]*</source>[^<]*(<comment>[^<]*</comment>[^<]*)?<translation type="
           untranslated "${committed}${catalog}")
    if(untranslated)
        list(TRANSFORM untranslated REPLACE "<source>([^<]*)</source>.*" "\\1")
        list(JOIN untranslated "\n  " untranslated)
        message(SEND_ERROR "airnote_${language}.ts lacks a translation for:\n  ${untranslated}")
    endif()
endforeach()
