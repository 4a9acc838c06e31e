add_bench(text_bench LINK stowboard_base)
